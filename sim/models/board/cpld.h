// The mainboard CPLD: a window of 16 byte-wide ports. Every generation tells its ID at
// offset 0 and its version at offset 1, drives the output lines of the parallel port by a
// write to offset 2 and reads its input lines at offset 3; the rest is up to the generation.
#pragma once

#include "sim/models/board/parallel_loopback.h"
#include "sim/models/bus/port_space.h"
#include "sim/models/joints/bit_joint.h"

#include <cstdint>

namespace k4sim {

inline constexpr std::uint16_t cpld_window_size = 16;

class Cpld : public PortSpace {
public:
    // What all generations have in common. Offsets without a register read 0xFF and
    // swallow writes.
    std::uint8_t in(std::uint16_t port) override;
    void out(std::uint16_t port, std::uint8_t value) override;

    // The plug in the parallel port, which must outlive the CPLD. Without one its inputs
    // are low.
    void plug(ParallelLoopback& loopback) { loopback_ = &loopback; }

    // Offset of `port` in the window.
    static constexpr unsigned offset(std::uint16_t port) { return port % cpld_window_size; }

    // Another identification than its own. What the registers do stays.
    void set_id(std::uint8_t id) { id_ = id; }
    void set_version(std::uint8_t version) { version_ = version; }
    void restore_id() { id_ = own_id_; }
    void restore_version() { version_ = own_version_; }

    std::uint8_t peek_id() const { return id_; }
    std::uint8_t peek_version() const { return version_; }

    // What can break of the registers and of what is behind them.
    virtual void name_sites(FaultSites& sites);

    // Accesses that break the rules of the board's front-panel link, such as a byte sent
    // while the link was busy. An event tells the 1st, 2nd, 4th, 8th ... of them.
    virtual std::uint32_t protocol_errors() const { return 0; }

protected:
    Cpld(std::uint8_t id, std::uint8_t version)
        : own_id_(id), own_version_(version), id_(id), version_(version) {}

    static constexpr std::uint8_t absent = 0xFF;

private:
    std::uint8_t own_id_;
    std::uint8_t own_version_;
    std::uint8_t id_;
    std::uint8_t version_;
    BitJoint id_bits_;
    BitJoint version_bits_;
    ParallelLoopback* loopback_ = nullptr;
};

} // namespace k4sim
