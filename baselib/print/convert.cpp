#include "baselib/print/convert.h"

#include <bit>

namespace {

constexpr int digitsInWord = 8;
constexpr int words = 3;
constexpr int valueBits = 64;

// Decimal digits, four bits each, eight in a word; the lowest word first.
using Accumulator = uint32_t[words];

// Doubles the eight digits of a word at once and returns the carry out of the highest. A
// digit of 5 or more is made 3 larger first, so that the shift carries it over 16.
uint32_t doubleWord(uint32_t& word, uint32_t carry) {
    const uint32_t fiveOrMore = (word + 0x33333333U) & 0x88888888U;
    const uint32_t adjusted = word + (fiveOrMore >> 2) + (fiveOrMore >> 3);
    word = adjusted << 1 | carry;
    return adjusted >> 31;
}

// Shifts the value's bits in, highest first. The rounds of leading zero bits would only
// double zero, and words that are still zero need no doubling.
void accumulate(uint64_t value, Accumulator& digits) {
    int used = 1;
    for (int bit = valueBits - 1 - std::countl_zero(value); bit >= 0; --bit) {
        auto carry = static_cast<uint32_t>(value >> bit & 1U);
        for (int i = 0; i < used; ++i)
            carry = doubleWord(digits[i], carry);
        if (carry != 0) digits[used++] = carry;
    }
}

} // namespace

void KLFconvert(long long value, char* buffer, int size, bool* negative, int* length) {
    auto magnitude = static_cast<uint64_t>(value);
    *negative = size == 0 && value < 0;
    if (*negative)
        magnitude = 0 - magnitude;
    else if (size != 0)
        magnitude = KLFlowBytes(magnitude, size);

    Accumulator digits{};
    accumulate(magnitude, digits);
    int count = 0;
    for (int place = words * digitsInWord - 1; place >= 0; --place) {
        const uint32_t digit = digits[place / digitsInWord] >> place % digitsInWord * 4 & 0xFU;
        if (count != 0 || digit != 0 || place == 0)
            buffer[count++] = static_cast<char>('0' + digit);
    }
    *length = count;
}
