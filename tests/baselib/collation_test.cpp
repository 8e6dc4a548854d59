#include "baselib/text/collation.h"

#include "latin1_model.h"

#include "baselib/text/astr.h"

#include <gtest/gtest.h>

// All characters as the header orders them, letters written out by hand.
TEST(Collation, RanksAllCharactersAsDocumented) {
    const auto range = [](int first, int last) {
        std::string result;
        for (int c = first; c <= last; ++c)
            result += static_cast<char>(c);
        return result;
    };
    const std::string order =
        range(0x00, 0x1F) + range(0x7F, 0x9F) + " \xA0" + range(0x21, 0x2F) + ":;<=>?@[\\]^_`{|}~" +
        range(0xA1, 0xBF) + "\xD7\xF7" + "0123456789" +
        "Aa\xC0\xE0\xC1\xE1\xC2\xE2\xC3\xE3\xC4\xE4\xC5\xE5\xC6\xE6" + "BbCc\xC7\xE7" +
        "Dd\xD0\xF0" + "Ee\xC8\xE8\xC9\xE9\xCA\xEA\xCB\xEB" + "FfGgHh" +
        "Ii\xCC\xEC\xCD\xED\xCE\xEE\xCF\xEF" + "JjKkLlMmNn\xD1\xF1" +
        "Oo\xD2\xF2\xD3\xF3\xD4\xF4\xD5\xF5\xD6\xF6\xD8\xF8" + "PpQqRrSs\xDF" + "Tt\xDE\xFE" +
        "Uu\xD9\xF9\xDA\xFA\xDB\xFB\xDC\xFC" + "VvWwXxYy\xDD\xFD\xFF" + "Zz";
    ASSERT_EQ(order.size(), 256U);
    for (int place = 0; place < 256; ++place)
        EXPECT_EQ(KLNcollation::rank(order[static_cast<std::size_t>(place)]), place);
}

TEST(Latin1, IsTheBeginningOfUnicode) {
    for (int c = 1; c < 256; ++c) {
        SCOPED_TRACE(c);
        const char text[] = {'a', static_cast<char>(c), '\0'};
        const auto is = [c](auto has) { return has(static_cast<wint_t>(c), unicode()) != 0; };
        const bool isBlank = c == 0x20 || c == 0xA0;
        // To Unicode the micro sign and two small raised letters are letters, too.
        const bool isLetter = is(iswalpha_l) && c != 0xAA && c != 0xB5 && c != 0xBA;
        const bool isSymbol = !is(iswcntrl_l) && !isBlank && !is(iswdigit_l) && !isLetter;
        EXPECT_EQ(KLTastrc::charInfo(c),
                  0x01 * is(iswcntrl_l) + 0x02 * isBlank + 0x04 * is(iswdigit_l) +
                      0x08 * is(iswxdigit_l) + 0x10 * is(iswupper_l) +
                      0x20 * (isLetter && !is(iswupper_l)) + 0x40 * (c >= 0x80) + 0x80 * isSymbol);
        EXPECT_EQ(KLTastrc(text).hasSpecial(true, false, false), is(iswcntrl_l));
        EXPECT_EQ(KLTastrc(text).hasSpecial(false, true, false), isBlank);
        EXPECT_EQ(KLTastrc(text).hasSpecial(false, false, true), c >= 0x80);
        EXPECT_EQ(KLTastrc::upper(c - 256), upper(c));
        EXPECT_EQ(KLNcollation::fold(c - 256), lower(c));
        const char small[] = {'a', static_cast<char>(lower(c)), '\0'};
        EXPECT_EQ(lower(KLTastrc(text).noUmlauts().into(1)), KLTastrc(small).noUmlauts().into(1));
    }
}
