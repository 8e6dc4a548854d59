#include "sim/models/board/cpld_hss.h"

#include <limits>

namespace k4sim {

namespace {

constexpr unsigned link_register = 4;
constexpr unsigned data_or_type = 5;
constexpr unsigned command_or_version = 6;
constexpr unsigned led_or_keys = 7;
constexpr unsigned last_key_byte = 10;

constexpr std::uint8_t link_busy = 0x80;
constexpr std::uint8_t reset_request = 0x01;
constexpr Microseconds pulse_us = 1;
constexpr Microseconds for_ever = std::numeric_limits<Microseconds>::max();

constexpr unsigned data_width = 8;

constexpr std::string_view only_keys =
    "the type is a known one, so that keys work, but no row on the glass can be read";

constexpr Expectation port_expectations[] = {
    {"cpld.status.bit7=stuck-0", Finding::escaped, "a byte has left before the next one can come"},
    {"panel.link.busy=stuck-0", Finding::escaped, "a byte has left before the next one can come"},
    {"cpld.status.bit7=flaky-100", Finding::escaped, "a wrong look is followed by a right one"},
    {"panel.link.busy=flaky-100", Finding::escaped, "a wrong look is followed by a right one"},
    {"cpld.status.bit7=*", Finding::blocked, "a link that is never free is waited for in vain"},
    {"cpld.status.bit[0-6]=*", Finding::escaped, "these bits mean nothing, and are not looked at"},
    {"panel.link.reset=open", Finding::escaped, "a link that was just switched on needs no reset"},
    {"panel.link.data[0167]=stuck-0", Finding::operator_, only_keys},
    {"panel.link.data[0345]=stuck-1", Finding::operator_, only_keys},
    {"panel.link.data0=inverted", Finding::operator_, only_keys},
    {"panel.link.data0-1=tied-low", Finding::operator_, only_keys},
    {"panel.link.data[346]-[457]=tied-*", Finding::operator_, only_keys},
    {"panel.link.data0-1=tied-high", Finding::detected, "", on_aes},
    {"panel.link.select2=stuck-0", Finding::detected, ""}, // the upper half of the key word is lost
    {"panel.link.*", Finding::blocked,
     "what comes and goes is wrong, so that the panel has neither a picture nor keys"},
};

} // namespace

std::uint8_t CpldHss::in(std::uint16_t port) {
    const unsigned place = offset(port);
    if (place == link_register)
        return status_bits_.through_byte(busy_line_.through(busy()) != 0 ? link_busy : 0);
    if (place >= data_or_type && place <= last_key_byte) return from_panel(place);
    return Cpld::in(port);
}

void CpldHss::out(std::uint16_t port, std::uint8_t value) {
    const unsigned place = offset(port);
    if (place == link_register && value == reset_request)
        reset_link();
    else if (place >= data_or_type && place <= led_or_keys)
        to_panel(place, value);
    else
        Cpld::out(port, value);
}

void CpldHss::name_sites(FaultSites& sites) {
    Cpld::name_sites(sites);
    sites.about("Frontpanel", port_expectations);
    status_bits_.name_bits(sites, "cpld.status.bit", link_busy,
                           BitJoint::steady | BitJoint::flaky_100);
    status_bits_.name_bits(sites, "cpld.status.bit", 0xFF & ~link_busy, BitJoint::stuck_1);
    data_lines_.name_bits(sites, "panel.link.data", 0xFF, BitJoint::steady);
    data_lines_.name_shorts(sites, "panel.link.data", data_width, 1);
    select_lines_.name_bits(sites, "panel.link.select", 7, BitJoint::steady);
    busy_line_.name_line(sites, "panel.link.busy", 0, BitJoint::steady | BitJoint::flaky_100);
    sites.add("panel.link.read", "open", [this](bool broken) { read_open_ = broken; });
    sites.add("panel.link.write", "open", [this](bool broken) { write_open_ = broken; });
    sites.add("panel.link.reset", "open", [this](bool broken) { reset_open_ = broken; });
}

bool CpldHss::busy() const { return surroundings_.now() < busy_until_; }

std::uint8_t CpldHss::from_panel(unsigned place) {
    place = selected(place);
    const std::uint8_t byte = data_lines_.through_byte(byte_from_panel(place));
    tell_byte(place, byte, Wire::panel_read, pulse_us);
    return byte;
}

std::uint8_t CpldHss::byte_from_panel(unsigned place) {
    if (panel_.dead() || read_open_ || place > last_key_byte) return absent;
    if (place == data_or_type) return panel_.reported_type();
    if (place == command_or_version) return panel_.version();
    if (place == led_or_keys) key_word_ = panel_.key_word();
    return static_cast<std::uint8_t>(key_word_ >> (8 * (place - led_or_keys)));
}

void CpldHss::to_panel(unsigned place, std::uint8_t value) {
    if (busy()) {
        protocol_error("byte sent while the link was busy");
        return;
    }
    place = selected(place);
    value = data_lines_.through_byte(value);
    tell_byte(place, value, Wire::panel_busy, byte_time_us);
    if (panel_.dead() || write_open_) {
        surroundings_.wire(Wire::panel_busy, 1, surroundings_.now() + byte_time_us);
        busy_until_ = for_ever;
        return;
    }
    busy_until_ = surroundings_.now() + byte_time_us;
    switch (place) {
    case data_or_type:
        panel_.oled_data(value);
        break;
    case command_or_version:
        panel_.oled_command(value);
        break;
    case led_or_keys:
        panel_.set_led(value);
        break;
    default:
        break;
    }
}

void CpldHss::tell_byte(unsigned place, std::uint8_t byte, Wire strobe, Microseconds length) {
    surroundings_.wire(Wire::panel_data, byte);
    surroundings_.wire(Wire::panel_select, place - data_or_type);
    surroundings_.wire(strobe, 1);
    surroundings_.wire(strobe, 0, surroundings_.now() + length);
}

unsigned CpldHss::selected(unsigned place) {
    return data_or_type + select_lines_.through(place - data_or_type);
}

void CpldHss::reset_link() {
    if (reset_open_) return;
    surroundings_.wire(Wire::panel_busy, 0);
    surroundings_.wire(Wire::panel_reset, 1);
    surroundings_.wire(Wire::panel_reset, 0, surroundings_.now() + pulse_us);
    busy_until_ = 0;
    key_word_ = 0xFFFFFFFF;
    surroundings_.event("cpld", "link-reset");
}

void CpldHss::protocol_error(std::string_view why) {
    ++protocol_errors_;
    if ((protocol_errors_ & (protocol_errors_ - 1)) == 0)
        surroundings_.event("cpld", "protocol-error",
                            {{"why", why}, {"count", std::int64_t{protocol_errors_}}});
}

} // namespace k4sim
