#include "baselib/text/latin1.h"

#include <array>

namespace {

constexpr int caseDistance = 0x20;

constexpr bool isUpper(int c) {
    return (c >= 'A' && c <= 'Z') || (c >= 0xC0 && c <= 0xDE && c != 0xD7);
}

constexpr bool isLower(int c) {
    return (c >= 'a' && c <= 'z') || (c >= 0xDF && c <= 0xFF && c != 0xF7);
}

constexpr bool hasUpper(int c) { return isLower(c) && c != 0xDF && c != 0xFF; }

constexpr bool isDigit(int c) { return c >= '0' && c <= '9'; }

constexpr bool isHexDigit(int c) {
    return isDigit(c) || (c >= 'A' && c <= 'F') || (c >= 'a' && c <= 'f');
}

constexpr bool isControl(int c) { return c < 0x20 || (c >= 0x7F && c <= 0x9F); }

constexpr bool isBlank(int c) { return c == ' ' || c == 0xA0; }

constexpr int classes(int c) {
    using namespace KLNlatin1;
    const int result = (isControl(c) ? control : 0) | (isBlank(c) ? blank : 0) |
                       (isDigit(c) ? digit : 0) | (isUpper(c) ? upperCase : 0) |
                       (isLower(c) ? lowerCase : 0);
    return (result != 0 ? result : symbol) | (isHexDigit(c) ? hexDigit : 0) |
           (c >= 0x80 ? beyondAscii : 0);
}

constexpr std::array<unsigned char, 256> classTable = [] {
    std::array<unsigned char, 256> table{};
    for (int c = 0; c < 256; ++c)
        table[static_cast<unsigned>(c)] = static_cast<unsigned char>(classes(c));
    return table;
}();

constexpr int firstLetter = 0xC0;

// From 0xC0 on, a row a column of the code chart.
constexpr std::array<const char*, 64> letters = {
    "A", "A", "A", "A", "Ae", "A", "AE", "C",     "E", "E", "E", "E", "I",  "I", "I",  "I",
    "D", "N", "O", "O", "O",  "O", "Oe", nullptr, "O", "U", "U", "U", "Ue", "Y", "Th", "ss",
    "a", "a", "a", "a", "ae", "a", "ae", "c",     "e", "e", "e", "e", "i",  "i", "i",  "i",
    "d", "n", "o", "o", "o",  "o", "oe", nullptr, "o", "u", "u", "u", "ue", "y", "th", "y",
};

} // namespace

int KLNlatin1::info(int c) { return classTable[static_cast<unsigned>(c) & 0xFFU]; }

int KLNlatin1::upper(int c) {
    c &= 0xFF;
    return hasUpper(c) ? c - caseDistance : c;
}

int KLNlatin1::lower(int c) {
    c &= 0xFF;
    return isUpper(c) ? c + caseDistance : c;
}

const char* KLNlatin1::asciiLetters(int c) {
    c &= 0xFF;
    return c < firstLetter ? nullptr : letters[static_cast<unsigned>(c - firstLetter)];
}
