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

} // namespace

std::uint8_t CpldHss::in(std::uint16_t port) {
    const unsigned place = offset(port);
    if (place == link_register) return busy() ? link_busy : 0;
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

bool CpldHss::busy() const { return surroundings_.now() < busy_until_; }

std::uint8_t CpldHss::from_panel(unsigned place) {
    const std::uint8_t byte = byte_from_panel(place);
    tell_byte(place, byte, Wire::panel_read, pulse_us);
    return byte;
}

std::uint8_t CpldHss::byte_from_panel(unsigned place) {
    if (panel_.dead()) return absent;
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
    tell_byte(place, value, Wire::panel_busy, byte_time_us);
    if (panel_.dead()) {
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
    default:
        panel_.set_led(value);
        break;
    }
}

void CpldHss::tell_byte(unsigned place, std::uint8_t byte, Wire strobe, Microseconds length) {
    surroundings_.wire(Wire::panel_data, byte);
    surroundings_.wire(Wire::panel_select, place - data_or_type);
    surroundings_.wire(strobe, 1);
    surroundings_.wire(strobe, 0, surroundings_.now() + length);
}

void CpldHss::reset_link() {
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
