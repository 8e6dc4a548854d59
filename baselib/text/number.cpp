#include "baselib/text/number.h"

#include <charconv>
#include <system_error>

namespace {

constexpr int largestBase = 36;

bool isBase(int base) { return base >= 2 && base <= largestBase; }

// The value of a digit in any base; largestBase for other characters.
int digitValue(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'z') return c - 'a' + 10;
    if (c >= 'A' && c <= 'Z') return c - 'A' + 10;
    return largestBase;
}

// What is left of the text.
struct Rest {
    const char* next;
    const char* end;

    bool empty() const { return next == end; }
    bool skip(char c) {
        if (empty() || *next != c) return false;
        ++next;
        return true;
    }
    bool skipSign() { return skip('-') || (skip('+'), false); }
};

// Skips the prefix of a number and returns its base.
int prefixBase(Rest& rest) {
    if (rest.skip('#')) return 10;
    if (rest.skip('$')) return 16;
    if (rest.skip('%')) return 2;
    // Whether a digit follows, the parser of the digits finds out; "0x" alone has none.
    const bool isHex = rest.end - rest.next > 2 && rest.next[0] == '0' &&
                       (rest.next[1] == 'x' || rest.next[1] == 'X');
    if (isHex) rest.next += 2;
    return isHex ? 16 : 10;
}

// magnitude = magnitude * base + digit; false when it does not fit.
bool appendDigit(uint64_t& magnitude, int base, int digit) {
    const auto factor = static_cast<uint64_t>(base);
    const auto summand = static_cast<uint64_t>(digit);
    if (magnitude > (UINT64_MAX - summand) / factor) return false;
    magnitude = magnitude * factor + summand;
    return true;
}

// An invalid character further on is the graver fault, so the whole text is looked at.
int parseDigits(Rest rest, int base, uint64_t& magnitude) {
    bool fits = true;
    for (; !rest.empty(); ++rest.next) {
        const int digit = digitValue(*rest.next);
        if (digit >= base) return KLTnumberInvalid;
        fits = fits && appendDigit(magnitude, base, digit);
    }
    return fits ? KLTnumberOk : KLTnumberRange;
}

} // namespace

int KLNnumber::parse(const char* text, int length, int base, Integer& result) {
    if (base != 0 && !isBase(base)) return KLTnumberBase;
    Rest rest{text, text + length};
    Integer parsed{rest.skipSign(), 0};
    if (base == 0) base = prefixBase(rest);
    if (rest.empty()) return KLTnumberEmpty;
    if (const int status = parseDigits(rest, base, parsed.magnitude)) return status;
    result = parsed;
    return KLTnumberOk;
}

int KLNnumber::parse(const char* text, int length, double& result) {
    Rest rest{text, text + length};
    const bool isNegative = rest.skipSign();
    if (rest.empty()) return KLTnumberEmpty;
    // from_chars would take a sign of its own, "inf" and "nan".
    if (*rest.next != '.' && digitValue(*rest.next) > 9) return KLTnumberInvalid;
    double magnitude = 0;
    const auto [end, error] = std::from_chars(rest.next, rest.end, magnitude);
    if (error == std::errc::invalid_argument || end != rest.end) return KLTnumberInvalid;
    if (error != std::errc()) return KLTnumberRange;
    result = isNegative ? -magnitude : magnitude;
    return KLTnumberOk;
}

int KLNnumber::digits(uint64_t value, int base, char (&buffer)[textSize]) {
    const int valid = isBase(base) ? base : 10;
    char* const end = buffer + textSize;
    // A division of 64 bits is a call on a 32-bit processor.
    const auto written = value <= UINT32_MAX
                             ? std::to_chars(buffer, end, static_cast<uint32_t>(value), valid)
                             : std::to_chars(buffer, end, value, valid);
    return static_cast<int>(written.ptr - buffer);
}
