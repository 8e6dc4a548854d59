#include "grc/font.h"

#include <algorithm>
#include <string>
#include <utility>

#include <gtest/gtest.h>

namespace {

const GRCglyph& glyph(char character) {
    return F9x5p.glyphs[static_cast<std::size_t>(character - GRCfontData::first)];
}

// The first and the last row of a character that is not empty.
std::pair<int, int> extent(char character) {
    int first = -1;
    int last = -1;
    for (int row = 0; row < 9; ++row) {
        if (glyph(character).rows[static_cast<std::size_t>(row)] == 0) continue;
        if (first < 0) first = row;
        last = row;
    }
    return {first, last};
}

} // namespace

// Those that a reader takes for each other differ in more than one pixel.
TEST(F9x5p, CharactersDiffer) {
    const std::string groups[] = {"0OD", "1lI|!i", "5S", "8B", "2Z", "`'\"", "({[",
                                  ")}]", ",.",     ":;", "UV", "vy", "gq",   "-_~"};
    for (char a = '!'; a <= '~'; ++a)
        for (char b = static_cast<char>(a + 1); b <= '~'; ++b) {
            const bool alike = std::ranges::any_of(groups, [a, b](const std::string& group) {
                return group.find(a) != std::string::npos && group.find(b) != std::string::npos;
            });
            int difference = glyph(a).width != glyph(b).width;
            for (std::size_t row = 0; row < 9; ++row)
                difference += __builtin_popcount(glyph(a).rows[row] ^ glyph(b).rows[row]);
            EXPECT_GE(difference, alike ? 2 : 1) << a << " " << b;
        }
}

TEST(F9x5p, CharactersStandOnTheBaseLine) {
    const struct {
        std::string characters;
        std::pair<int, int> extent;
    } rows[] = {
        {"ABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789bdfhkl", {0, 6}},
        {"acemnorsuvwxz", {2, 6}},
        {"gpqy", {2, 8}},
        {" ", {-1, -1}},
    };
    for (const auto& row : rows)
        for (const char character : row.characters)
            EXPECT_EQ(extent(character), row.extent) << character;
}

TEST(F9x5p, GlyphsUseTheirWholeWidth) {
    for (char character = '!'; character <= '~'; ++character) {
        unsigned int columns = 0;
        for (const auto row : glyph(character).rows)
            columns |= row;
        EXPECT_EQ(columns >> (glyph(character).width - 1), 1U) << character;
        EXPECT_TRUE(columns & 1) << character;
    }
    EXPECT_EQ(glyph(' ').width, 3);
}
