#include "sim/models/board/cpld_aes.h"

namespace k4sim {

namespace {

constexpr unsigned microphone_register = 0x0B;
constexpr unsigned watchdog_register = 0x0C;

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

void CpldAes::set_microphone(std::uint8_t value) {
    if (value == microphone_) return;
    microphone_ = value;
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
