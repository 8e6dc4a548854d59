#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

// Knuth's subtractive random numbers: each 32-bit word is the word 55 places back minus the
// word 24 places back. Every generator gives the same sequence.
//
// The state is that of seed 0: the differences 0, 1, -1, 2, -3, 5 ... (each the one before
// the last, minus the last) stand at the indices 0, 21, 42, 8 ..., that is 21 i mod 55, and
// four passes over the state are thrown away.
class LaggedFibonacci {
public:
    LaggedFibonacci();

    // The next word.
    std::uint32_t next();

private:
    static constexpr std::size_t stateSize = 55;

    std::array<std::uint32_t, stateSize> state_{};
    std::size_t index_ = 0;
};
