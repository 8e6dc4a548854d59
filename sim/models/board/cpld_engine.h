// ID 1 version 8: the line register of version 6, and an I2C engine that moves bytes by
// itself at 1 MHz.
//
// +5 write: 2 = the next byte is the address byte after a start condition, 1 = the next
// byte is the last one, a stop condition follows it. +6 write: the byte to transmit; one
// byte can wait behind the one on the wire. +5 read: bit 7 = transmitter busy, bit 5 = no
// received byte ready, the other bits 0. +7 read: the received byte; taking it lets the
// engine acknowledge it and receive the next one, or stop when it was said to be the last.
//
// The engine tells nothing about acknowledges. With a line that is stuck it clocks on:
// nothing reaches a slave and every received byte is 0x00 (SDA low) or 0xFF.
//
// Not modelled: a program that uses engine and line register at once.
#pragma once

#include "sim/models/board/cpld_i2c.h"
#include "sim/models/board/engine_wave.h"
#include "sim/models/surroundings.h"

#include <string_view>

namespace k4sim {

class CpldEngine final : public CpldI2c {
public:
    // Eight bits and the acknowledge at 1 MHz.
    static constexpr Microseconds byte_time_us = 9;

    CpldEngine(I2cBus& bus, Surroundings& surroundings)
        : CpldI2c(1, 8, bus, surroundings), bus_(bus), surroundings_(surroundings),
          wave_(bus, surroundings) {}

    std::uint8_t in(std::uint16_t port) override;
    void out(std::uint16_t port, std::uint8_t value) override;

    void name_sites(FaultSites& sites) override;

    std::uint32_t protocol_errors() const override { return protocol_errors_; }

private:
    std::uint8_t status() const;
    void control(std::uint8_t value);
    void transmit(std::uint8_t byte);
    bool start(std::uint8_t address_byte);
    void receive();
    std::uint8_t take_received();
    void protocol_error(std::string_view why);

    I2cBus& bus_;
    Surroundings& surroundings_;
    EngineWave wave_;
    bool start_next_ = false;
    bool last_next_ = false;
    bool receiving_ = false;
    Microseconds transmitted_at_ = 0; // when the last byte is on the far side
    Microseconds received_at_ = 0;    // when the next byte is ready
    std::uint8_t received_ = 0xFF;
    BitJoint status_bits_, control_bits_, transmit_bits_, receive_bits_;
    std::uint32_t protocol_errors_ = 0;
};

} // namespace k4sim
