#pragma once
// Letters as the C library knows them: Latin-1 is the beginning of Unicode.

#include <algorithm>
#include <clocale>
#include <cwctype>
#include <string>

inline locale_t unicode() {
    static const locale_t tables = newlocale(LC_CTYPE_MASK, "C.UTF-8", nullptr);
    return tables;
}

inline int lower(int c) { return static_cast<int>(towlower_l(static_cast<wint_t>(c), unicode())); }

// Some upper-case forms are not in Latin-1.
inline int upper(int c) {
    const auto result = static_cast<int>(towupper_l(static_cast<wint_t>(c), unicode()));
    return result > 0xFF ? c : result;
}

inline std::string changed(std::string text, int (*change)(int)) {
    for (char& c : text)
        c = static_cast<char>(change(static_cast<unsigned char>(c)));
    return text;
}
