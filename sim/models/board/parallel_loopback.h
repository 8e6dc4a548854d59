// The loopback plug of the parallel port: each of the eight output lines of the CPLD is
// wired to the input line of the same number. An input that nothing drives is pulled low.
//
// Not modelled: how long a level takes to settle.
#pragma once

#include "sim/models/joints/bit_joint.h"
#include "sim/models/surroundings.h"

#include <array>
#include <cstdint>
#include <random>

namespace k4sim {

class ParallelLoopback {
public:
    static constexpr unsigned lines = 8;

    enum class Defect {
        high,      // the input is stuck high
        low,       // the input is stuck low
        open,      // the wire is broken
        inverted,  // the input is low when the output is high
        tied_high, // a short with the next line, where a high output wins
        tied_low,  // a short with the next line, where a low output wins
        count
    };

    // The seed tells which readings of a flaky line are wrong.
    ParallelLoopback(std::uint64_t seed, Surroundings& surroundings)
        : surroundings_(surroundings), random_(seed) {
        for (BitJoint* const joint : {&out_, &plug_, &in_})
            joint->set_on_change([this] { tell(levels()); });
    }

    // The CPLD drives its output lines, line 0 with bit 0.
    void drive(std::uint8_t outputs);

    // The levels at the input lines. An event tells the 1st, 2nd, 4th, 8th ... reading
    // that is not what is driven.
    std::uint8_t read();

    // Faults of one line each; those of a short are of this line and the next.
    void set(Defect defect, unsigned line, bool there);
    // One reading in each run of `readings` is wrong, which one is left to chance; 0: none.
    void set_flaky(unsigned line, unsigned readings) { flaky_[line] = {readings, 0, 0}; }

    // The output and input pins, the wires of the plug, and shorts between them.
    void name_sites(FaultSites& sites);

private:
    struct Flaky {
        unsigned readings = 0; // 0: a good line
        unsigned reading = 0;  // the next of them
        unsigned wrong = 0;    // the one of this run that is wrong
    };

    std::uint8_t& with(Defect defect) { return defective_[static_cast<std::size_t>(defect)]; }
    std::uint8_t levels();
    void tell(std::uint8_t inputs);
    std::uint8_t wrong_by_chance();
    void report(std::uint8_t inputs);

    Surroundings& surroundings_;
    std::mt19937_64 random_;
    std::uint8_t outputs_ = 0;
    std::array<std::uint8_t, static_cast<std::size_t>(Defect::count)>
        defective_{}; // one bit a line
    std::array<Flaky, lines> flaky_{};
    BitJoint out_, plug_, in_;
    std::uint32_t mismatches_ = 0;
};

} // namespace k4sim
