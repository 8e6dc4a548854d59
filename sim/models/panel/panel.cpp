#include "sim/models/panel/panel.h"

#include "sim/models/panel/ssd1322.h"
#include "sim/models/panel/ssd1362.h"

namespace k4sim {

namespace {

enum Message : std::uint8_t {
    type_query = 0x00,
    version_query = 0x01,
    oled_command_bytes = 0x10,
    oled_data_bytes = 0x20,
    key_query = 0x40,
    led_pattern = 0x50,
};

constexpr Expectation panel_expectations[] = {
    {"panel.type.bit0=stuck-0", Finding::detected, "", on_aes},
    {"panel.type.bit0=*", Finding::operator_,
     "it is taken for the other known type, whose glass is another one"},
    {"panel.type.*", Finding::blocked, "a panel of no known type is not used, and has no key then"},
    {"panel.version.*", Finding::escaped,
     "the version tells the width of the knobs' counters only"},
};

constexpr std::uint32_t nothing_to_read = 0xFFFFFFFF;
constexpr std::uint8_t first_version_with_long_counters = 8;

std::unique_ptr<Oled> make_oled(std::uint8_t type, Surroundings& surroundings) {
    if (type == panel_type_ssd1322) return std::make_unique<Ssd1322>(surroundings);
    return std::make_unique<Ssd1362>(surroundings);
}

// A one-byte reply; what is read beyond it is the idle line.
constexpr std::uint32_t reply_byte(std::uint8_t byte) { return 0xFFFFFF00U | byte; }

} // namespace

Panel::Panel(std::uint8_t type, std::uint8_t version, Surroundings& surroundings)
    : surroundings_(surroundings), version_(version), type_(type), reported_type_(type),
      oled_(make_oled(type, surroundings)),
      keys_(version < first_version_with_long_counters ? 4 : 6, surroundings) {}

void Panel::name_sites(FaultSites& sites) {
    sites.about("Frontpanel", panel_expectations);
    type_bits_.name_constant(sites, "panel.type.bit", type_);
    version_bits_.name_constant(sites, "panel.version.bit", version_);
    keys_.name_sites(sites);
    oled_->name_sites(sites);
}

void Panel::set_led(std::uint8_t pattern) {
    if (pattern == led_) return;
    led_ = pattern;
    surroundings_.event("panel", "led", {{"pattern", std::int64_t{pattern}}});
}

bool Panel::begin_write() {
    message_expected_ = true;
    return !dead_;
}

bool Panel::begin_read() {
    if (dead_) return false;
    switch (message_) {
    case type_query:
        reply_ = reply_byte(reported_type());
        break;
    case version_query:
        reply_ = reply_byte(version());
        break;
    case key_query:
        reply_ = keys_.read();
        break;
    default:
        reply_ = nothing_to_read;
        protocol_error("read without query", message_);
        break;
    }
    return true;
}

bool Panel::write_byte(std::uint8_t byte) {
    if (dead_) return false;
    if (!message_expected_) return accept_payload(byte);
    message_expected_ = false;
    return accept_message(byte);
}

std::uint8_t Panel::read_byte() {
    if (dead_) return 0xFF;
    const auto byte = static_cast<std::uint8_t>(reply_);
    reply_ = reply_ >> 8 | 0xFF000000U;
    return byte;
}

bool Panel::accept_message(std::uint8_t message) {
    message_ = message;
    payload_length_ = 0;
    switch (message) {
    case type_query:
    case version_query:
    case oled_command_bytes:
    case oled_data_bytes:
    case key_query:
    case led_pattern:
        return true;
    default:
        return protocol_error("unknown message", message);
    }
}

bool Panel::accept_payload(std::uint8_t byte) {
    ++payload_length_;
    switch (message_) {
    case oled_command_bytes:
        oled_->command(byte);
        return true;
    case oled_data_bytes:
        oled_->data(byte);
        return true;
    case led_pattern:
        if (payload_length_ > 1) return protocol_error("message too long", byte);
        set_led(byte);
        return true;
    default:
        return protocol_error("message too long", byte);
    }
}

// False, as the missing acknowledge that it is.
bool Panel::protocol_error(std::string_view why, std::uint8_t byte) {
    ++protocol_errors_;
    if ((protocol_errors_ & (protocol_errors_ - 1)) == 0)
        surroundings_.event("panel", "protocol-error",
                            {{"why", why},
                             {"byte", std::int64_t{byte}},
                             {"count", std::int64_t{protocol_errors_}}});
    return false;
}

} // namespace k4sim
