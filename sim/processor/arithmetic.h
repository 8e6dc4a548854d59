// The arithmetic of an i386: results and flags, as the processor's manual gives them. Flags that it
// leaves undefined are 0.
#pragma once

#include <cstdint>

namespace k4sim {

// The bits of an operand of 1, 2 or 4 bytes.
constexpr std::uint32_t mask_of(int size) {
    return size == 4 ? 0xFFFFFFFF : (std::uint32_t{1} << 8 * size) - 1;
}

// By the numbers that instructions give them.
enum class Operation { add, inclusive_or, adc, sbb, bit_and, sub, exclusive_or, cmp };
enum class Shift { rol, ror, rcl, rcr, shl, shr, shl_too, sar };

// Operands and result have `size` bytes, upper bits 0. `flags`: the former ones, then the new.
std::uint32_t calculate(Operation operation, std::uint32_t a, std::uint32_t b, int size,
                        std::uint32_t& flags);

// a + 1 or a - 1; the carry stays as it was.
std::uint32_t increase(std::uint32_t a, int size, std::uint32_t& flags);
std::uint32_t decrease(std::uint32_t a, int size, std::uint32_t& flags);

// Only shl, shr and sar. The lower five bits of the count are what counts; by none, no flag
// changes.
std::uint32_t shift(Shift kind, std::uint32_t a, unsigned count, int size, std::uint32_t& flags);

// Condition 0 to 15 of a jump, a set or a move.
bool holds(int condition, std::uint32_t flags);

} // namespace k4sim
