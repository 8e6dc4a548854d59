// ID 1 version 6: an I2C bus whose two lines the program drives itself.
//
// +4 write: bit 1 = SCL, bit 0 = SDA, 1 = released. +4 read: bit 0 = SDA level, bit 1 =
// SCL level, the other bits 0.
#pragma once

#include "sim/models/board/cpld.h"
#include "sim/models/bus/i2c_lines.h"

namespace k4sim {

class CpldI2c : public Cpld {
public:
    explicit CpldI2c(I2cBus& bus) : CpldI2c(1, 6, bus) {}

    std::uint8_t in(std::uint16_t port) override {
        if (offset(port) != line_register) return Cpld::in(port);
        return static_cast<std::uint8_t>(lines_.scl() << 1 | (lines_.sda() ? 1 : 0));
    }

    void out(std::uint16_t port, std::uint8_t value) override {
        if (offset(port) == line_register)
            lines_.drive((value & 2) != 0, (value & 1) != 0);
        else
            Cpld::out(port, value);
    }

protected:
    CpldI2c(std::uint8_t id, std::uint8_t version, I2cBus& bus) : Cpld(id, version), lines_(bus) {}

private:
    static constexpr unsigned line_register = 4;

    I2cLines lines_;
};

} // namespace k4sim
