#include "sim/models/board/cpld_aes.h"

namespace k4sim {

namespace {

constexpr unsigned microphone_register = 0x0B;
constexpr unsigned watchdog_register = 0x0C;

constexpr unsigned fitted_inputs = 0x33; // boost and phantom power of the first two

constexpr Expectation microphone_expectations[] = {
    {"cpld.microphone.bit[45]=stuck-0", Finding::escaped,
     "phantom power is measured off only; that it comes is left to who looks at the plugs"},
    {"cpld.microphone.bit[01]=stuck-1", Finding::escaped,
     "the boost is measured on only, as it is without the keyword nomicboost"},
};

} // namespace

std::uint8_t CpldAes::in(std::uint16_t port) {
    return offset(port) == microphone_register ? microphone_ : CpldHss::in(port);
}

void CpldAes::out(std::uint16_t port, std::uint8_t value) {
    switch (offset(port)) {
    case microphone_register:
        set_microphone(value);
        break;
    case watchdog_register:
        set_watchdog(value);
        break;
    default:
        CpldHss::out(port, value);
        break;
    }
}

void CpldAes::name_sites(FaultSites& sites) {
    CpldHss::name_sites(sites);
    sites.about("AnalogAudio", microphone_expectations);
    switch_bits_.name_bits(sites, "cpld.microphone.bit", fitted_inputs, BitJoint::steady);
}

void CpldAes::set_microphone(std::uint8_t value) {
    microphone_ = value;
    switch_microphone();
}

void CpldAes::switch_microphone() {
    const std::uint8_t value = switch_bits_.through_byte(microphone_);
    if (value == switches_) return;
    switches_ = value;
    surroundings().event(
        "cpld", "microphone",
        {{"boost", std::int64_t{value & 0x0F}}, {"phantom", std::int64_t{value >> 4}}});
    if (on_microphone_) on_microphone_(value);
}

// A watchdog is fed for ever: only a change of the value is worth an event.
void CpldAes::set_watchdog(std::uint8_t value) {
    if (value != watchdog_)
        surroundings().event("cpld", "watchdog", {{"value", std::int64_t{value}}});
    watchdog_ = value;
}

} // namespace k4sim
