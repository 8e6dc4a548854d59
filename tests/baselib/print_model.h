#pragma once
// What the formatting of a print object makes of numbers, told by printf.

#include "baselib/print/print.h"

#include <algorithm>
#include <bitset>
#include <cmath>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <string>

[[gnu::format(printf, 1, 2)]] inline std::string formatted(const char* format, ...) {
    char buffer[512];
    va_list arguments;
    va_start(arguments, format);
    vsnprintf(buffer, sizeof buffer, format, arguments);
    va_end(arguments);
    return buffer;
}

struct Integer {
    long long value;
    int size;
    bool isSigned;
};

inline unsigned long long lowBytes(const Integer& integer) {
    return static_cast<unsigned long long>(integer.value) & (~0ULL >> (64 - integer.size * 8));
}

inline std::string padded(std::string text, int width, char padding) {
    const auto wanted = static_cast<size_t>(std::abs(width));
    const size_t missing = wanted > text.size() ? wanted - text.size() : 0;
    return text.insert(width < 0 ? text.size() : 0, missing, padding);
}

inline std::string binaryDigits(unsigned long long value, int digits) {
    const std::string all = std::bitset<64>(value).to_string();
    return padded(all.substr(value == 0 ? 63 : all.find('1')), digits, '0');
}

// The number without its field, by printf. A precision counts digits only; numwidth counts
// the sign too. Only unsigned decimals are cut to their size.
inline std::string numberByPrintf(const Integer& integer, const KLTprtFlags& flags) {
    const int digits = std::max<int>(flags.numwidth, 1);
    const unsigned long long bits = lowBytes(integer);
    switch (flags.base) {
    case 2:
        return binaryDigits(bits, digits);
    case 8:
        return formatted("%.*llo", digits, bits);
    case 16:
        return formatted(flags.upper ? "%.*llX" : "%.*llx", digits, bits);
    default:
        break;
    }
    if (integer.isSigned && integer.value < 0)
        return formatted("%.*lld", std::max(digits - 1, 1), integer.value);
    const auto magnitude = integer.isSigned ? static_cast<unsigned long long>(integer.value) : bits;
    if (flags.addNneg == 0) return formatted("%.*llu", digits, magnitude);
    return flags.addNneg + formatted("%.*llu", std::max(digits - 1, 1), magnitude);
}

inline std::string doubleByPrintf(double value, const KLTprtFlags& flags) {
    const char format[] = {'%', '.', '*', flags.dblFormat, '\0'};
    std::string text = formatted(format, std::clamp(flags.dblPrecision, 0, 30), value);
    const size_t point = text.find('.');
    if (point != std::string::npos) text[point] = static_cast<char>(flags.dblPoint);
    if (flags.addNneg != 0 && !std::signbit(value)) text.insert(0, 1, flags.addNneg);
    return padded(text, flags.width, flags.paddingchar);
}
