// An I2C bus with its slaves, byte by byte, and everything that can be wrong with it.
// I2cLines feeds it from the two lines; a hardware engine feeds it directly.
//
// Not modelled: 10-bit addresses, several masters, clock stretching.
#pragma once

#include "sim/models/bus/i2c_slave.h"
#include "sim/models/joints/bit_joint.h"

#include <array>
#include <cstdint>
#include <functional>
#include <optional>
#include <utility>
#include <vector>

namespace k4sim {

class I2cBus {
public:
    // `slave` answers at the 7-bit `address` and must outlive the bus.
    void attach(std::uint8_t address, I2cSlave& slave);

    // The data line is held low (false) or high (true).
    void set_sda_stuck(bool level) { hold_sda(level); }
    void release_sda() { hold_sda(std::nullopt); }
    std::optional<bool> sda_stuck() const { return sda_stuck_; }
    // Whether no byte can cross the bus.
    bool jammed() const { return sda_stuck_ || scl_stuck_ || tied_; }
    // What anybody on the bus sees of lines that all leave at these levels.
    bool scl(bool scl, bool sda) const { return scl_stuck_.value_or(scl && (sda || !tied_)); }
    bool sda(bool scl, bool sda) const { return sda_stuck_.value_or(sda && (scl || !tied_)); }
    // Called when the data line is held from now on, or not any more.
    void set_on_stuck(std::function<void()> observer) { on_stuck_ = std::move(observer); }

    // The lines, the address straps of the slaves, and the bits of bytes that cross.
    void name_sites(FaultSites& sites);

    // Start condition and address byte. True when a slave acknowledged.
    bool start(std::uint8_t address_byte);
    // A byte to the selected slave. True when it acknowledged.
    bool write(std::uint8_t byte);
    // A byte from the selected slave; the level of the idle line when there is none.
    std::uint8_t read();
    // Stop condition, or a new start: no slave is selected.
    void stop() { selected_ = nullptr; }

private:
    void hold_sda(std::optional<bool> level) {
        sda_stuck_ = level;
        if (on_stuck_) on_stuck_();
    }

    void strap();

    std::vector<std::pair<std::uint8_t, I2cSlave*>> attached_;
    std::array<I2cSlave*, 128> slaves_{}; // by the address that each answers to
    I2cSlave* selected_ = nullptr;
    std::optional<bool> sda_stuck_;
    std::optional<bool> scl_stuck_;
    bool tied_ = false;   // the two lines to each other
    bool open_ = false;   // between master and slaves
    bool silent_ = false; // no slave acknowledges
    BitJoint straps_, to_slave_, from_slave_;
    std::function<void()> on_stuck_;
};

} // namespace k4sim
