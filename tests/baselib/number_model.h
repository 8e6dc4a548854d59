#pragma once
// Numbers as strtod and std::from_chars read and std::to_chars writes them.

#include "choices.h"
#include "latin1_model.h"

#include "baselib/text/astr.h"
#include "baselib/text/number.h"

#include <charconv>
#include <climits>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <utility>

// Status and value.
template <class Number>
using Reading = std::pair<int, Number>;

inline bool hasSign(const std::string& text) { return text[0] == '-' || text[0] == '+'; }

inline int takePrefix(std::string& digits) {
    for (const std::string prefix : {"#", "$", "%", "0x", "0X"})
        if (digits.starts_with(prefix) && (prefix.size() == 1 || digits.size() > 2)) {
            digits.erase(0, prefix.size());
            return prefix == "#" ? 10 : prefix == "%" ? 2 : 16;
        }
    return 10;
}

template <class Number>
Reading<Number> reading(const std::string& text, int base) {
    if (base != 0 && (base < 2 || base > 36)) return {KLTnumberBase, 0};
    std::string digits = text.substr(hasSign(text));
    if (base == 0) base = takePrefix(digits);
    if (digits.empty()) return {KLTnumberEmpty, 0};
    if (hasSign(digits)) return {KLTnumberInvalid, 0};
    if (std::is_signed_v<Number> && text[0] == '-') digits.insert(0, "-");
    Number value = 0;
    const char* const last = digits.data() + digits.size();
    const auto [end, error] = std::from_chars(digits.data(), last, value, base);
    if (end != last) return {KLTnumberInvalid, 0};
    const bool isBelow0 = std::is_unsigned_v<Number> && text[0] == '-' && value != 0;
    return {error == std::errc() && !isBelow0 ? KLTnumberOk : KLTnumberRange, value};
}

template <>
inline Reading<double> reading(const std::string& text, int) {
    if (text.size() == hasSign(text)) return {KLTnumberEmpty, 0};
    char* end = nullptr;
    const double value = std::strtod(text.c_str(), &end);
    // Blanks, hexadecimal and named numbers are none here.
    if (*end != '\0' || text.find_first_not_of("+-.0123456789eE") != std::string::npos)
        return {KLTnumberInvalid, 0};
    const std::string mantissa = text.substr(0, text.find_first_of("eE"));
    const bool isZero = mantissa.find_first_of("123456789") == std::string::npos;
    return {std::isinf(value) || (value == 0 && !isZero) ? KLTnumberRange : KLTnumberOk, value};
}

// Reads by read(value), which must leave its target alone when it fails.
template <class Number, class Read>
void compareReading(const std::string& text, const Reading<Number>& expected, Read read) {
    Number value = 99;
    const int status = read(value);
    const Number wanted = status == KLTnumberOk ? expected.second : 99;
    const bool isSame = std::memcmp(&value, &wanted, sizeof value) == 0; // also the sign of 0
    require(status == expected.first && isSame, "reading " + text);
}

inline void compareNumber(const std::string& text, int base) {
    const KLTastrc view(text.c_str());
    compareReading(text, reading<long long>(text, base), [&](long long& value) {
        return base == 10 ? view.num(value) : view.num(value, base);
    });
    compareReading(text, reading<double>(text, 0), [&](double& value) { return view.num(value); });
}

// Returns the text without padding.
inline std::string compareWriting(long long value, char pad, int width, char sign, int base) {
    char digits[66] = {}; // the sign, 64 digits and the NUL
    std::to_chars(digits, std::end(digits), value, base < 2 || base > 36 ? 10 : base);
    const std::string shown = std::string(value >= 0 && sign, sign) + digits;
    const auto wanted = static_cast<std::size_t>(pad ? std::max(width, 0) : 0);
    const std::string padding(std::max(wanted, shown.size()) - shown.size(), pad);
    const bool isSignFirst = pad == '0' && (value < 0 || sign);
    const std::string expected = std::string(shown).insert(isSignFirst, padding);
    const KLTastr written = KLTastr().itos(value, pad, width, sign, base);
    require(written == expected.c_str(), expected + " is written " + written.text());
    return shown;
}

inline std::string anyNumber(Choices& choices, int base) {
    std::string digits = "0123456789abcdefghijklmnopqrstuvwxyz";
    digits.resize(static_cast<std::size_t>(std::clamp(base, 2, 36)));
    static const std::string beginnings[] = {"", "-", "+", "", "-$", "#", "%", "0x", "+0X"};
    static const std::string endings[] = {"", "", "", "e3", "E-310", "e+308", ".", ".5e", "x"};
    const std::string characters[] = {digits + changed(digits, upper), "01", "12345678900.",
                                      digits + " \xB2/:@[`{gn"};
    return choices.of(beginnings) + choices.text(choices.of(characters), 1 << choices.below(7)) +
           choices.of(endings);
}

inline void compareNumbers(Choices& choices) {
    while (choices.left()) {
        const int base = choices.below(4) ? choices.between(-1, 37) : 10;
        compareNumber(anyNumber(choices, base), base);
        const auto value = static_cast<long long>(choices.below(UINT64_MAX) >> choices.below(64));
        compareWriting(choices.below(2) ? value : -value, choices.of("0 *"),
                       choices.between(-2, 70), choices.of(" +"), base);
    }
}
