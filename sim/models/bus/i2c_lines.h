// The two lines of an I2C bus: what a master does to them, decoded into start, stop,
// bits and acknowledges for the slaves of an I2cBus. A line is low when anybody drives it
// low (wired AND), unless a fault holds it.
//
// Of two lines that the master changes at once, a falling SCL counts before SDA and a
// rising SCL after it, as with real edges that no slave can resolve.
#pragma once

#include "sim/models/bus/i2c_bus.h"

#include <cstdint>

namespace k4sim {

class I2cLines {
public:
    // `bus` must outlive the lines. Both lines are released.
    explicit I2cLines(I2cBus& bus) : bus_(bus) {}

    I2cBus& bus() { return bus_; }

    // The master drives a line low (false) or releases it (true).
    void drive(bool scl, bool sda);

    // The levels that anybody on the bus sees.
    bool scl() const { return bus_.scl(master_scl_, master_sda_ && slave_sda_); }
    bool sda() const { return bus_.sda(master_scl_, master_sda_ && slave_sda_); }

private:
    enum class Phase {
        idle,        // waits for a start condition
        address,     // the master sends the address byte
        to_slave,    // the master sends a data byte
        acknowledge, // the slave answers to a byte
        to_master,   // the slave sends a data byte
        answer       // the master answers to a byte
    };

    void start_condition();
    void stop_condition();
    void scl_rises();
    void scl_falls();
    void byte_complete();
    void send_next_byte();
    void send_next_bit();

    I2cBus& bus_;
    bool master_scl_ = true;
    bool master_sda_ = true;
    bool slave_sda_ = true;
    bool seen_scl_ = true;
    bool seen_sda_ = true;
    Phase phase_ = Phase::idle;
    Phase after_acknowledge_ = Phase::idle;
    unsigned bits_ = 0;
    std::uint8_t byte_ = 0;
    bool answered_ = false;
};

} // namespace k4sim
