// An I2C bus with its slaves, byte by byte, and everything that can be wrong with it.
// I2cLines feeds it from the two lines; a hardware engine feeds it directly.
//
// Not modelled: 10-bit addresses, several masters, clock stretching.
#pragma once

#include "sim/models/bus/i2c_slave.h"

#include <array>
#include <cstdint>
#include <optional>

namespace k4sim {

class I2cBus {
public:
    // `slave` answers at the 7-bit `address` and must outlive the bus.
    void attach(std::uint8_t address, I2cSlave& slave) { slaves_[address & 0x7F] = &slave; }

    // Faults: what the outside world does to the bus.
    // No acknowledge at this address any more.
    void set_no_acknowledge(std::uint8_t address) { mute_[address & 0x7F] = true; }
    // A line is held low (false) or high (true), or is free again (empty).
    void set_sda_stuck(std::optional<bool> level) { sda_stuck_ = level; }
    void set_scl_stuck(std::optional<bool> level) { scl_stuck_ = level; }
    // Of the `nth` data byte from now on (1: the next), in either direction, the bits of
    // `mask` are inverted on the way.
    void set_corruption(std::uint32_t nth, std::uint8_t mask);
    void clear_faults();

    std::optional<bool> sda_stuck() const { return sda_stuck_; }
    std::optional<bool> scl_stuck() const { return scl_stuck_; }

    // Start condition and address byte. True when a slave acknowledged.
    bool start(std::uint8_t address_byte);
    // A byte to the selected slave. True when it acknowledged.
    bool write(std::uint8_t byte);
    // A byte from the selected slave; the level of the idle line when there is none.
    std::uint8_t read();
    // Stop condition, or a new start: no slave is selected.
    void stop() { selected_ = nullptr; }

private:
    std::uint8_t on_the_way(std::uint8_t byte);

    std::array<I2cSlave*, 128> slaves_{};
    std::array<bool, 128> mute_{};
    I2cSlave* selected_ = nullptr;
    std::optional<bool> sda_stuck_;
    std::optional<bool> scl_stuck_;
    std::uint32_t bytes_until_corruption_ = 0;
    std::uint8_t corruption_mask_ = 0;
};

} // namespace k4sim
