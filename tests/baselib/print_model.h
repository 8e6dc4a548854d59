#pragma once
// What a print object makes of a number, against what printf makes of it.

#include "baselib/print/print.h"
#include "recording_sink.h"

#include <algorithm>
#include <bitset>
#include <cmath>
#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

// An integer, a double and how they are printed, of any bytes.
struct PrintCase {
    std::int64_t integer;
    double number;
    std::int8_t width;
    std::uint8_t numwidth;
    std::uint8_t size;
    std::uint8_t base;
    std::uint8_t sign;
    std::uint8_t letter;
    std::int8_t precision;
    std::uint8_t padding;

    int bytes() const { return size % 8 + 1; }
    bool is_signed() const { return (sign & 4) != 0; }
    KLTprtFlags flags() const {
        KLTprtFlags flags;
        flags.width = width;
        flags.numwidth = numwidth;
        flags.base = "\0\x02\x08\x0a\x10"[base % 5];
        flags.upper = base >= 128;
        flags.addNneg = "\0+ +"[sign & 3];
        flags.paddingchar = " *"[padding & 1];
        flags.dblFormat = "eEfFgGaA"[letter % 8];
        flags.dblPoint = ".,"[letter >> 7];
        flags.dblPrecision = precision;
        return flags;
    }
};

[[gnu::format(printf, 1, 2)]] inline std::string formatted(const char* format, ...) {
    char buffer[512];
    va_list arguments;
    va_start(arguments, format);
    vsnprintf(buffer, sizeof buffer, format, arguments);
    va_end(arguments);
    return buffer;
}

inline std::string in_field(const std::string& text, int width, char padding) {
    const int missing = std::max(std::abs(width) - static_cast<int>(text.size()), 0);
    const std::string pad(static_cast<std::size_t>(missing), padding);
    return width < 0 ? text + pad : pad + text;
}

// A precision of printf counts digits only, numwidth the sign too. In decimal only unsigned
// integers are cut to their size.
inline std::string integer_by_printf(const PrintCase& c, const KLTprtFlags& flags) {
    const int digits = std::max<int>(flags.numwidth, 1);
    const unsigned long long bits =
        static_cast<unsigned long long>(c.integer) & (~0ULL >> (64 - c.bytes() * 8));
    if (flags.base == 2) {
        const std::string all = std::string(256, '0') + std::bitset<64>(bits).to_string();
        return all.substr(std::min(all.find('1'), all.size() - static_cast<std::size_t>(digits)));
    }
    if (flags.base == 8) return formatted("%.*llo", digits, bits);
    if (flags.base == 16) return formatted(flags.upper ? "%.*llX" : "%.*llx", digits, bits);
    const long long value = c.integer;
    if (c.is_signed() && value < 0) return formatted("%.*lld", std::max(digits - 1, 1), value);
    const auto magnitude = c.is_signed() ? static_cast<unsigned long long>(value) : bits;
    if (flags.addNneg == 0) return formatted("%.*llu", digits, magnitude);
    return flags.addNneg + formatted("%.*llu", std::max(digits - 1, 1), magnitude);
}

inline std::string double_by_printf(double value, const KLTprtFlags& flags) {
    const char format[] = {'%', '.', '*', flags.dblFormat, '\0'};
    std::string text = formatted(format, std::clamp(flags.dblPrecision, 0, 30), value);
    std::replace(text.begin(), text.end(), '.', static_cast<char>(flags.dblPoint));
    return flags.addNneg != 0 && !std::signbit(value) ? flags.addNneg + text : text;
}

// Each number behind the formatting, and one that must have nothing of it any more.
inline std::string printed(const PrintCase& c) {
    RecordingSink sink;
    KLTprint print(sink);
    print << c.flags();
    print.prtint(c.integer, c.bytes(), c.is_signed()) << ' ' << c.flags() << c.number << ' ' << 10;
    return sink.take();
}

inline std::string printed_by_printf(const PrintCase& c) {
    const KLTprtFlags flags = c.flags();
    const auto field = [&](const std::string& text) {
        return in_field(text, flags.width, flags.paddingchar);
    };
    return field(integer_by_printf(c, flags)) + ' ' + field(double_by_printf(c.number, flags)) +
           " 10";
}
