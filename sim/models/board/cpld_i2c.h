// ID 1 version 6: an I2C bus whose two lines the program drives itself.
//
// +4 write: bit 1 = SCL, bit 0 = SDA, 1 = released. +4 read: bit 0 = SDA level, bit 1 =
// SCL level, the other bits 0.
#pragma once

#include "sim/models/board/cpld.h"
#include "sim/models/bus/i2c_lines.h"
#include "sim/models/surroundings.h"

namespace k4sim {

class CpldI2c : public Cpld {
public:
    CpldI2c(I2cBus& bus, Surroundings& surroundings) : CpldI2c(1, 6, bus, surroundings) {
        bus.set_on_stuck([this] { tell_lines(); });
    }

    std::uint8_t in(std::uint16_t port) override {
        if (offset(port) != line_register) return Cpld::in(port);
        return line_bits_.through_byte(
            static_cast<std::uint8_t>(lines_.scl() << 1 | (lines_.sda() ? 1 : 0)));
    }

    void out(std::uint16_t port, std::uint8_t value) override {
        if (offset(port) != line_register) return Cpld::out(port, value);
        lines_.drive((value & 2) != 0, (value & 1) != 0);
        tell_lines();
    }

    void name_sites(FaultSites& sites) override;

protected:
    CpldI2c(std::uint8_t id, std::uint8_t version, I2cBus& bus, Surroundings& surroundings)
        : Cpld(id, version), surroundings_(surroundings), lines_(bus) {}

    Surroundings& surroundings() { return surroundings_; }

private:
    static constexpr unsigned line_register = 4;

    void tell_lines() {
        surroundings_.wire(Wire::scl, lines_.scl());
        surroundings_.wire(Wire::sda, lines_.sda());
    }

    Surroundings& surroundings_;
    I2cLines lines_;
    BitJoint line_bits_; // as they are read
};

} // namespace k4sim
