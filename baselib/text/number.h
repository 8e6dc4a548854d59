#pragma once
// Numbers and their texts.

#include <cstdint>
#include <limits>

// Status of every parser of numbers: KLTastrc::num, KLTstrextr::extract.
constexpr int KLTnumberOk = 0;
constexpr int KLTnumberEmpty = -1;   // no digit behind sign and prefix
constexpr int KLTnumberInvalid = -2; // a character that is no part of such a number
constexpr int KLTnumberRange = -3;   // too large for its type, or a double too close to 0
constexpr int KLTnumberBase = -4;    // the base is neither 0 nor 2..36

namespace KLNnumber {

struct Integer {
    bool isNegative;
    uint64_t magnitude;
};

// Parses a whole text as KLTastrc::num describes it. result is unchanged on a failure.
[[nodiscard]] int parse(const char* text, int length, int base, Integer& result);
[[nodiscard]] int parse(const char* text, int length, double& result);

// As above, for a type of integers; KLTnumberRange for what the type cannot hold.
template <class Number>
[[nodiscard]] int parseAs(const char* text, int length, int base, Number& result);

// Digits of the largest number in base 2.
constexpr int textSize = 64;

// Writes value in base 2..36 (any other: 10), lower-case digits, without a NUL, to buffer.
// Returns their number.
int digits(uint64_t value, int base, char (&buffer)[textSize]);

} // namespace KLNnumber

template <class Number>
int KLNnumber::parseAs(const char* text, int length, int base, Number& result) {
    constexpr auto largest = static_cast<uint64_t>(std::numeric_limits<Number>::max());
    Integer parsed{};
    if (const int status = parse(text, length, base, parsed)) return status;
    const uint64_t limit = !parsed.isNegative                       ? largest
                           : std::numeric_limits<Number>::is_signed ? largest + 1
                                                                    : 0;
    if (parsed.magnitude > limit) return KLTnumberRange;
    const uint64_t bits = parsed.isNegative ? 0 - parsed.magnitude : parsed.magnitude;
    result = static_cast<Number>(bits);
    return KLTnumberOk;
}
