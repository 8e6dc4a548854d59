#include "baselib/print/convert.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstring>

namespace {

constexpr int digitBits = 4;
constexpr int wordDigits = 8;
constexpr int words = 3;
constexpr int valueBits = 64;

// So many bits of a value are always one digit, fit into one word, and into two.
constexpr int bitsOfDigit = 3;
constexpr int bitsOfOneWord = 26;
constexpr int bitsOfTwoWords = 53;

constexpr uint32_t threes = 0x33333333U;
constexpr uint32_t highestBits = 0x88888888U;

// Doubles the digits of a word and adds a carry; returns the carry out of the highest. Digits
// are kept 3 too large: the highest bit of one then tells that it is 5 or more. Doubled, a
// digit is 6 too large: one below 5 loses 3, one of 5 or more loses 10 and gets 3.
uint32_t doubleWord(uint32_t& word, uint32_t carry) {
    const uint32_t fiveOrMore = word & highestBits;
    word = 2 * word + carry - threes + fiveOrMore - (fiveOrMore >> 2);
    return fiveOrMore >> 31;
}

// Decimal digits, four bits each, eight in a word; the lowest word first.
using Digits = std::array<uint32_t, words>;

// Shifts the value's bits in, highest first. The rounds of leading zero bits would only
// double zero, and words that are still zero need no doubling.
Digits digitsOf(uint64_t value) {
    const int bits = std::max<int>(std::bit_width(value), bitsOfDigit);
    value <<= valueBits - bits;
    const auto takeBits = [&value](int count) {
        const uint64_t taken = value >> (valueBits - count);
        value <<= count;
        return static_cast<uint32_t>(taken);
    };
    uint32_t low = threes + takeBits(bitsOfDigit);
    uint32_t middle = threes;
    uint32_t high = threes;
    int done = bitsOfDigit;
    for (; done < std::min(bits, bitsOfOneWord); ++done)
        doubleWord(low, takeBits(1));
    for (; done < std::min(bits, bitsOfTwoWords); ++done)
        doubleWord(middle, doubleWord(low, takeBits(1)));
    for (; done < bits; ++done)
        doubleWord(high, doubleWord(middle, doubleWord(low, takeBits(1))));
    return {low - threes, middle - threes, high - threes};
}

// The characters of the lowest four digits, the higher ones first.
void writeFour(uint32_t digits, char* characters) {
    digits = (digits << 8 | digits) & 0x00FF00FFU;
    digits = (digits << 4 | digits) & 0x0F0F0F0FU;
    const uint32_t inOrder = __builtin_bswap32(digits | 0x30303030U);
    memcpy(characters, &inOrder, sizeof inOrder);
}

// Writes the digits from the first that is not 0 on, or the last, and returns their number.
// Words are written whole, what follows the digits is of no meaning.
int write(const Digits& digits, char* buffer) {
    static_assert(words * wordDigits <= KLTconvertSize);
    int highest = words - 1;
    while (highest > 0 && digits[highest] == 0)
        --highest;
    const int zeros = std::countl_zero(digits[highest] | 1U) / digitBits;
    const int shift = zeros * digitBits;
    for (int i = highest; i >= 0; --i, buffer += wordDigits) {
        const uint32_t below = i > 0 ? digits[i - 1] : 0;
        const uint32_t eight = digits[i] << shift | below >> 1 >> (31 - shift);
        writeFour(eight >> 16, buffer);
        writeFour(eight & 0xFFFFU, buffer + 4);
    }
    return (highest + 1) * wordDigits - zeros;
}

} // namespace

void KLFconvert(long long value, char* buffer, int size, bool* negative, int* length) {
    auto magnitude = static_cast<uint64_t>(value);
    *negative = size == 0 && value < 0;
    if (*negative)
        magnitude = 0 - magnitude;
    else if (size != 0)
        magnitude = KLFlowBytes(magnitude, size);
    *length = write(digitsOf(magnitude), buffer);
}
