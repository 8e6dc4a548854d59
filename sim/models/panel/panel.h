// The front panel: its own small controller with the OLED, the keys and the LED behind
// it. It is reached as I2C slave 0x3C or, on newer boards, over the CPLD's parallel port.
//
// I2C messages (first byte of a write): 0x10 command bytes for the OLED, 0x20 data bytes
// for the OLED, 0x40 key query (a read of 4 bytes follows, lowest byte first), 0x50 LED
// pattern, 0x00 panel type, 0x01 panel version (a read of 1 byte follows).
//
// Not modelled: how the LED blinks in time (the pattern is kept).
#pragma once

#include "sim/models/bus/i2c_slave.h"
#include "sim/models/joints/bit_joint.h"
#include "sim/models/panel/keys.h"
#include "sim/models/panel/oled.h"
#include "sim/models/surroundings.h"

#include <cstdint>
#include <memory>
#include <string_view>

namespace k4sim {

inline constexpr std::uint8_t panel_i2c_address = 0x3C;

// Panel types, and the controller that sits on their glass.
inline constexpr std::uint8_t panel_type_ssd1362 = 0x3C;
inline constexpr std::uint8_t panel_type_ssd1322 = 0x3D;

class Panel final : public I2cSlave {
public:
    // `type` is one of the two above. From version 8 on the encoder counters have 6
    // bits, before it 4.
    Panel(std::uint8_t type, std::uint8_t version, Surroundings& surroundings);

    // What is fitted.
    Oled& oled() { return *oled_; }
    const Oled& oled() const { return *oled_; }
    Keys& keys() { return keys_; }
    const Keys& keys() const { return keys_; }

    // The panel reports another type than the one it has.
    void set_reported_type(std::uint8_t type) { reported_type_ = type; }
    void restore_reported_type() { reported_type_ = type_; }
    // The panel answers nothing any more; its glass keeps what it shows.
    void set_dead(bool dead) { dead_ = dead; }

    // The wires of the parallel port. Not to be called for a dead panel.
    void oled_command(std::uint8_t byte) { oled_->command(byte); }
    void oled_data(std::uint8_t byte) { oled_->data(byte); }
    void set_led(std::uint8_t pattern);
    std::uint32_t key_word() { return keys_.read(); }
    std::uint8_t reported_type() { return type_bits_.through_byte(reported_type_); }
    std::uint8_t version() { return version_bits_.through_byte(version_); }
    bool dead() const { return dead_; }

    // What it says that it is, its LED, keys and glass.
    void name_sites(FaultSites& sites);

    // I2C.
    bool begin_write() override;
    bool begin_read() override;
    bool write_byte(std::uint8_t byte) override;
    std::uint8_t read_byte() override;

    std::uint8_t peek_led() const { return led_; }
    // I2C messages that the panel does not know, or with too many bytes. An event tells
    // the 1st, 2nd, 4th, 8th ... of them.
    std::uint32_t protocol_errors() const { return protocol_errors_; }

private:
    bool accept_message(std::uint8_t message);
    bool accept_payload(std::uint8_t byte);
    bool protocol_error(std::string_view why, std::uint8_t byte);

    Surroundings& surroundings_;
    std::uint8_t version_;
    std::uint8_t type_;
    std::uint8_t reported_type_;
    bool dead_ = false;
    std::unique_ptr<Oled> oled_;
    Keys keys_;
    std::uint8_t led_ = 0;
    BitJoint type_bits_, version_bits_;
    bool message_expected_ = false;
    std::uint8_t message_ = 0xFF;
    std::uint32_t payload_length_ = 0;
    std::uint32_t reply_ = 0xFFFFFFFF; // bytes to be read, lowest first
    std::uint32_t protocol_errors_ = 0;
};

} // namespace k4sim
