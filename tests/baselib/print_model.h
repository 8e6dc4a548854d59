#pragma once
// What a print object makes of a number, against what printf makes of it.

#include "baselib/print/print.h"
#include "recording_sink.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>

// An integer, a double and how both are printed, made of any bytes.
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

template <class... Values>
std::string formatted(const char* format, Values... values) {
    char text[512];
    snprintf(text, sizeof text, format, values...);
    return text;
}

inline std::string in_field(const std::string& text, int width, char padding) {
    const int missing = std::max(std::abs(width) - static_cast<int>(text.size()), 0);
    const std::string pad(static_cast<std::size_t>(missing), padding);
    return width < 0 ? text + pad : pad + text;
}

// A precision of printf counts digits only, numwidth the sign too. In decimal only unsigned
// integers are cut to their size.
inline std::string integer_by_printf(const PrintCase& c, const KLTprtFlags& flags) {
    const auto value = static_cast<unsigned long long>(c.integer);
    const unsigned long long bits = value & (~0ULL >> (64 - c.bytes() * 8));
    const char capital = flags.upper ? 'X' : 'x';
    for (const auto& [base, letter] : {std::pair{2, 'b'}, {8, 'o'}, {16, capital}})
        if (flags.base == base)
            return formatted((std::string("%.*ll") + letter).c_str(),
                             std::max<int>(flags.numwidth, 1), bits);
    const bool negative = c.is_signed() && c.integer < 0;
    std::string sign = negative ? "-" : flags.addNneg != 0 ? std::string(1, flags.addNneg) : "";
    const int digits = std::max(flags.numwidth - static_cast<int>(sign.size()), 1);
    const unsigned long long magnitude = negative ? 0 - value : c.is_signed() ? value : bits;
    return sign + formatted("%.*llu", digits, magnitude);
}

inline std::string double_by_printf(double value, const KLTprtFlags& flags) {
    const char format[] = {'%', '.', '*', flags.dblFormat, '\0'};
    std::string text = formatted(format, std::clamp(flags.dblPrecision, 0, 30), value);
    std::ranges::replace(text, '.', static_cast<char>(flags.dblPoint));
    return flags.addNneg != 0 && !std::signbit(value) ? flags.addNneg + text : text;
}

// Each number behind the formatting, and one that must have nothing of it any more.
inline std::string printed(const PrintCase& c) {
    RecordingSink sink;
    KLTprint print(sink);
    print << c.flags();
    print.prtint(c.integer, c.bytes(), c.is_signed()) << c.flags() << c.number << 10;
    return sink.take();
}

inline std::string printed_by_printf(const PrintCase& c) {
    const KLTprtFlags flags = c.flags();
    return in_field(integer_by_printf(c, flags), flags.width, flags.paddingchar) +
           in_field(double_by_printf(c.number, flags), flags.width, flags.paddingchar) + "10";
}
