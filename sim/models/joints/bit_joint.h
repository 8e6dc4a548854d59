// Wires side by side, or the bits of a register, up to 32 of them, where what is on them passes.
// Each can be stuck, inverted or wrong now and then, and two can be tied to each other.
#pragma once

#include "sim/models/joints/fault_sites.h"
#include "sim/models/joints/one_in.h"

#include <array>
#include <cstdint>
#include <functional>
#include <string_view>
#include <utility>
#include <vector>

namespace k4sim {

class BitJoint {
public:
    static constexpr unsigned width = 32;

    // Ways to break a bit, to be added up.
    enum Way : unsigned {
        stuck_0 = 1,
        stuck_1 = 2,
        inverted = 4,
        flaky_3 = 8,    // inverted once in 3 times
        flaky_100 = 16, // inverted once in 100 times
    };
    static constexpr unsigned stuck = stuck_0 | stuck_1;
    static constexpr unsigned steady = stuck | inverted;

    // Called when something breaks or is mended; empty: nobody.
    void set_on_change(std::function<void()> observer) { on_change_ = std::move(observer); }

    // What comes out of it.
    std::uint32_t through(std::uint32_t bits) { return sound_ ? bits : spoiled(bits); }
    std::uint8_t through_byte(std::uint8_t byte) {
        return static_cast<std::uint8_t>(through(byte));
    }

    // Sites "NAMEn" for each bit n of the mask.
    void name_bits(FaultSites& sites, std::string_view name, std::uint32_t mask, unsigned ways);
    // A site "NAME" for one bit.
    void name_line(FaultSites& sites, std::string_view name, unsigned bit, unsigned ways);
    // For the bits of what never changes: stuck at the level that is not its own.
    void name_constant(FaultSites& sites, std::string_view name, std::uint8_t value,
                       std::uint32_t mask = 0xFF);
    // Sites "NAMEa-b" for each two of the first `count` bits that are no more than `reach` apart:
    // tied to each other, where a low or a high one wins.
    void name_shorts(FaultSites& sites, std::string_view name, unsigned count, unsigned reach);

private:
    struct Short {
        std::uint32_t pair = 0;
        bool high_wins = false;
        bool operator==(const Short&) const = default;
    };

    void set(Way way, unsigned bit, bool broken, std::uint64_t seed);
    void set(const Short& tie, bool broken);
    void settle();
    std::uint32_t spoiled(std::uint32_t bits);

    bool sound_ = true;
    std::uint32_t low_ = 0, high_ = 0, inverted_ = 0;
    std::array<OneIn, width> flaky_;
    std::vector<Short> shorts_;
    std::function<void()> on_change_;
};

} // namespace k4sim
