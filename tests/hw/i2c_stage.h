// The program's I2C masters on the modelled lines of the virtual device.
#pragma once

#include "baselib/time/clock.h"
#include "sim/models/bus/i2c_lines.h"

#include <cstdint>
#include <deque>
#include <string>
#include <utility>

// Writes down what it hears: "w" and "r" when it is addressed, bytes in either direction,
// and '!' behind what it does not acknowledge.
class NotingSlave : public k4sim::I2cSlave {
public:
    // Whether it acknowledges reads, and how many bytes of writes.
    bool is_readable = true;
    int room = 1000;
    // What it sends; then 0xFF.
    std::deque<std::uint8_t> answers;

    bool begin_write() override { return note("w", true); }
    bool begin_read() override { return note("r", is_readable); }
    bool write_byte(std::uint8_t byte) override { return note(hex(byte), room-- > 0); }
    std::uint8_t read_byte() override {
        answers.push_back(0xFF);
        note(hex(answers.front()), true);
        const std::uint8_t byte = answers.front();
        answers.pop_front();
        return byte;
    }

    bool note(const std::string& what, bool is_acknowledged) {
        log_ += (log_.empty() ? "" : " ") + what + (is_acknowledged ? "" : "!");
        return is_acknowledged;
    }
    // What happened since the last call.
    std::string take() { return std::exchange(log_, {}); }

    static std::string hex(std::uint8_t byte) {
        constexpr const char* digits = "0123456789abcdef";
        return {digits[byte / 16], digits[byte % 16]};
    }

private:
    std::string log_;
};

// A master with one slave, and START and STOP as "S" and "P" in the slave's notes.
template <class Master>
class OnLines : public Master {
public:
    explicit OnLines(std::uint8_t address, auto... arguments) : Master(arguments...) {
        bus.attach(address, slave);
    }

    void putI2C(int scl, int sda) override {
        const bool scl_before = lines.scl();
        const bool sda_before = lines.sda();
        lines.drive(scl != 0, sda != 0);
        if (scl_before && lines.scl() && lines.sda() != sda_before)
            slave.note(sda_before ? "S" : "P", true);
    }
    int getI2C(bool) override { return lines.sda(); }
    void waitI2C() override { KLFdelay(half_period_us); }

    long long half_period_us = 0;
    NotingSlave slave;
    k4sim::I2cBus bus;
    k4sim::I2cLines lines{bus};
};
