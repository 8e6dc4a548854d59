#include "baselib/text/collation.h"

#include "baselib/text/astrc.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <random>
#include <string>

namespace {

void appendRange(std::string& order, int first, int last) {
    for (int c = first; c <= last; ++c)
        order += static_cast<char>(c);
}

// All characters as the header orders them, letters written out by hand.
std::string expectedOrder() {
    std::string order;
    appendRange(order, 0x00, 0x1F);
    appendRange(order, 0x7F, 0x9F);
    order += " \xA0";
    appendRange(order, 0x21, 0x2F);
    order += ":;<=>?@[\\]^_`{|}~";
    appendRange(order, 0xA1, 0xBF);
    order += "\xD7\xF7"
             "0123456789"
             "Aa\xC0\xE0\xC1\xE1\xC2\xE2\xC3\xE3\xC4\xE4\xC5\xE5\xC6\xE6"
             "Bb"
             "Cc\xC7\xE7"
             "Dd\xD0\xF0"
             "Ee\xC8\xE8\xC9\xE9\xCA\xEA\xCB\xEB"
             "FfGgHh"
             "Ii\xCC\xEC\xCD\xED\xCE\xEE\xCF\xEF"
             "JjKkLlMm"
             "Nn\xD1\xF1"
             "Oo\xD2\xF2\xD3\xF3\xD4\xF4\xD5\xF5\xD6\xF6\xD8\xF8"
             "PpQqRr"
             "Ss\xDF"
             "Tt\xDE\xFE"
             "Uu\xD9\xF9\xDA\xFA\xDB\xFB\xDC\xFC"
             "VvWwXx"
             "Yy\xDD\xFD\xFF"
             "Zz";
    return order;
}

// The characters' places in the expected order; without case those of two forms of a letter
// are one.
class Places {
public:
    explicit Places(bool caseSensitive) {
        const std::string order = expectedOrder();
        for (std::size_t place = 0; place < 256; ++place)
            of(order[place]) = static_cast<char>(place);
        if (caseSensitive) return;
        for (int upper = 'A'; upper <= 0xDE; ++upper)
            if (upper <= 'Z' || (upper >= 0xC0 && upper != 0xD7)) of(upper) = of(upper + 0x20);
    }

    // The order of texts is that of the places of their characters, the shorter text first.
    int compare(std::string a, std::string b) {
        for (std::string* text : {&a, &b})
            for (char& c : *text)
                c = of(c);
        const int order = a.compare(b);
        return (order > 0) - (order < 0);
    }

private:
    char& of(int c) { return places_[static_cast<unsigned char>(c)]; }

    std::array<char, 256> places_{};
};

} // namespace

TEST(Collation, SortsAllCharactersAsDocumented) {
    std::string sorted;
    appendRange(sorted, 0, 255);
    std::sort(sorted.begin(), sorted.end(),
              [](char a, char b) { return KLNcollation::rank(a) < KLNcollation::rank(b); });
    ASSERT_EQ(sorted, expectedOrder());
    for (int place = 0; place < 256; ++place)
        EXPECT_EQ(KLNcollation::rank(sorted[static_cast<std::size_t>(place)]), place);
}

// Where the comparison of any two characters is that of their places in a row, it is
// antisymmetric, transitive and total.
TEST(Collation, BothOrdersOfCharactersAreTotal) {
    for (const bool caseSensitive : {true, false}) {
        Places places(caseSensitive);
        for (int a = 1; a < 256; ++a)
            for (int b = 1; b < 256; ++b) {
                const std::string left(1, static_cast<char>(a));
                const std::string right(1, static_cast<char>(b));
                ASSERT_EQ(KLTastrc(left.c_str()).compare(right.c_str(), caseSensitive),
                          places.compare(left, right))
                    << a << " and " << b << ", case " << caseSensitive;
            }
    }
}

TEST(Collation, TextsFollowTheirCharacters) {
    std::mt19937 random(4);
    const auto text = [&random] {
        std::string result;
        for (auto count = random() % 5; count > 0; --count)
            result += "aAbB\xE4\xC4\xDFsz1 "[random() % 11];
        return result;
    };
    for (int i = 0; i < 20000; ++i) {
        const std::string a = text();
        const std::string b = text();
        const int n = static_cast<int>(random() % 7) - 1;
        const auto cut = static_cast<std::size_t>(std::max(n, 0));
        for (const bool caseSensitive : {true, false}) {
            Places places(caseSensitive);
            const KLTastrc view(a.c_str());
            ASSERT_EQ(view.compare(b.c_str(), caseSensitive), places.compare(a, b))
                << a << "/" << b;
            ASSERT_EQ(view.compareLeft(b.c_str(), n, caseSensitive),
                      places.compare(a.substr(0, cut), b.substr(0, cut)));
            ASSERT_EQ(view.matchLeft(b.c_str(), caseSensitive),
                      places.compare(a.substr(0, b.size()), b) == 0);
            ASSERT_EQ(view.matchRight(b.c_str(), caseSensitive),
                      a.size() >= b.size() &&
                          places.compare(a.substr(a.size() - b.size()), b) == 0);
            const int differing = view.findDiffPos(b.c_str(), caseSensitive);
            ASSERT_EQ(differing == -1, places.compare(a, b) == 0);
            if (differing < 0) continue;
            const auto same = static_cast<std::size_t>(differing);
            ASSERT_EQ(places.compare(a.substr(0, same), b.substr(0, same)), 0);
            ASSERT_NE(places.compare(a.substr(0, same + 1), b.substr(0, same + 1)), 0);
        }
    }
}

TEST(Latin1, AgreesWithTheCLibraryOnAscii) {
    for (int c = 1; c < 0x80; ++c) {
        const int info = KLTastrc::charInfo(c);
        const auto is = [info](int classes) { return (info & classes) != 0; };
        EXPECT_EQ(is(0x01), iscntrl(c) != 0) << c;
        EXPECT_EQ(is(0x02), c == ' ') << c;
        EXPECT_EQ(is(0x04), isdigit(c) != 0) << c;
        EXPECT_EQ(is(0x08), isxdigit(c) != 0) << c;
        EXPECT_EQ(is(0x10), isupper(c) != 0) << c;
        EXPECT_EQ(is(0x20), islower(c) != 0) << c;
        EXPECT_EQ(is(0x80), ispunct(c) != 0) << c;
        EXPECT_EQ(KLTastrc::upper(c), toupper(c)) << c;
    }
}
