#include "sim/processor/arithmetic.h"

#include "sim/processor/registers.h"

#include <bit>

namespace k4sim {

namespace {

constexpr std::uint32_t arithmetic_flags =
    carry_flag | parity_flag | adjust_flag | zero_flag | sign_flag | overflow_flag;

std::uint32_t sign_of(std::uint32_t value, int size) { return value >> (8 * size - 1) & 1; }

// The flags that a result of any kind gives.
std::uint32_t flags_of(std::uint32_t result, int size) {
    std::uint32_t flags = 0;
    if (std::popcount(result & 0xFF) % 2 == 0) flags |= parity_flag;
    if (result == 0) flags |= zero_flag;
    if (sign_of(result, size) != 0) flags |= sign_flag;
    return flags;
}

void set_flags(std::uint32_t& flags, std::uint32_t arithmetic) {
    flags = (flags & ~arithmetic_flags) | arithmetic;
}

std::uint32_t sum(std::uint32_t a, std::uint32_t b, std::uint32_t carry, int size,
                  std::uint32_t& flags) {
    const std::uint64_t wide = std::uint64_t{a} + b + carry;
    const std::uint32_t result = static_cast<std::uint32_t>(wide) & mask_of(size);
    std::uint32_t found = flags_of(result, size) | ((a ^ b ^ result) & adjust_flag);
    if (wide > mask_of(size)) found |= carry_flag;
    if (sign_of((a ^ result) & (b ^ result), size) != 0) found |= overflow_flag;
    set_flags(flags, found);
    return result;
}

std::uint32_t difference(std::uint32_t a, std::uint32_t b, std::uint32_t borrow, int size,
                         std::uint32_t& flags) {
    const std::uint32_t result = (a - b - borrow) & mask_of(size);
    std::uint32_t found = flags_of(result, size) | ((a ^ b ^ result) & adjust_flag);
    if (a < std::uint64_t{b} + borrow) found |= carry_flag;
    if (sign_of((a ^ b) & (a ^ result), size) != 0) found |= overflow_flag;
    set_flags(flags, found);
    return result;
}

std::uint32_t logical(std::uint32_t result, int size, std::uint32_t& flags) {
    set_flags(flags, flags_of(result, size));
    return result;
}

// The last bit that is moved out is the carry.
std::uint32_t shifted(std::uint32_t result, bool carry, bool overflow, int size,
                      std::uint32_t& flags) {
    set_flags(flags,
              flags_of(result, size) | (carry ? carry_flag : 0) | (overflow ? overflow_flag : 0));
    return result;
}

} // namespace

std::uint32_t calculate(Operation operation, std::uint32_t a, std::uint32_t b, int size,
                        std::uint32_t& flags) {
    switch (operation) {
    case Operation::add:
        return sum(a, b, 0, size, flags);
    case Operation::inclusive_or:
        return logical(a | b, size, flags);
    case Operation::adc:
        return sum(a, b, flags & carry_flag, size, flags);
    case Operation::sbb:
        return difference(a, b, flags & carry_flag, size, flags);
    case Operation::bit_and:
        return logical(a & b, size, flags);
    case Operation::sub:
    case Operation::cmp:
        return difference(a, b, 0, size, flags);
    case Operation::exclusive_or:
        return logical(a ^ b, size, flags);
    }
    return 0;
}

std::uint32_t increase(std::uint32_t a, int size, std::uint32_t& flags) {
    const std::uint32_t carry = flags & carry_flag;
    const std::uint32_t result = sum(a, 1, 0, size, flags);
    flags = (flags & ~carry_flag) | carry;
    return result;
}

std::uint32_t decrease(std::uint32_t a, int size, std::uint32_t& flags) {
    const std::uint32_t carry = flags & carry_flag;
    const std::uint32_t result = difference(a, 1, 0, size, flags);
    flags = (flags & ~carry_flag) | carry;
    return result;
}

std::uint32_t shift(Shift kind, std::uint32_t a, unsigned count, int size, std::uint32_t& flags) {
    count &= 31;
    if (count == 0) return a;
    const unsigned bits = 8 * static_cast<unsigned>(size);
    const bool sign = sign_of(a, size) != 0;
    if (kind == Shift::shl) {
        const std::uint64_t wide = std::uint64_t{a} << count;
        const std::uint32_t result = static_cast<std::uint32_t>(wide) & mask_of(size);
        const bool carry = (wide >> bits & 1) != 0;
        return shifted(result, carry, count == 1 && (sign_of(result, size) != 0) != carry, size,
                       flags);
    }
    // With the sign to any length, or with zeros.
    const std::int64_t extended =
        kind == Shift::sar && sign ? static_cast<std::int64_t>(a) - (std::int64_t{1} << bits) : a;
    const bool carry = (extended >> (count - 1) & 1) != 0;
    const std::uint32_t result = static_cast<std::uint32_t>(extended >> count) & mask_of(size);
    return shifted(result, carry, count == 1 && kind == Shift::shr && sign, size, flags);
}

bool holds(int condition, std::uint32_t flags) {
    const auto is_set = [flags](std::uint32_t bits) { return (flags & bits) != 0; };
    const bool less = is_set(sign_flag) != is_set(overflow_flag);
    const bool positive[] = {is_set(overflow_flag),
                             is_set(carry_flag),
                             is_set(zero_flag),
                             is_set(carry_flag | zero_flag),
                             is_set(sign_flag),
                             is_set(parity_flag),
                             less,
                             less || is_set(zero_flag)};
    return positive[condition >> 1] != ((condition & 1) != 0);
}

} // namespace k4sim
