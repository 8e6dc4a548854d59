#include "grc/font_art.h"

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

// A font of one-pixel-high pictures for every character.
std::string plainArt() {
    std::string heading;
    std::string row;
    for (char character = '!'; character <= '~'; ++character) {
        heading += std::string(1, character) + " ";
        row += "# ";
    }
    return heading + "\n" + row + "\n";
}

bool isWellFormed(const std::string& art) {
    GRCfontData font;
    return readFontArt(art, 1, 3, font);
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

TEST(FontArt, RefusesMalformedLines) {
    EXPECT_TRUE(isWellFormed(plainArt()));
    const struct {
        std::string from, to;
    } changes[] = {
        {"A B C", "A C B"},         // characters out of order
        {"A B C", "A C"},           // a character is missing
        {"\n# #", "\n# x"},         // not a pixel
        {"\n# #", "\n#"},           // a piece is missing
        {"\n# #", "\n# # #"},       // a piece too many
        {"\n# #", "\n#........ #"}, // too wide
    };
    for (const auto& [from, to] : changes) {
        std::string art = plainArt();
        EXPECT_FALSE(isWellFormed(art.replace(art.find(from), from.size(), to))) << to;
    }
    EXPECT_FALSE(isWellFormed(plainArt() + plainArt())) << "characters twice";
    EXPECT_FALSE(isWellFormed("")) << "no characters";
    EXPECT_FALSE(isWellFormed("! \"\n# #\n")) << "the end is missing";
}

TEST(FontArt, RefusesRowsOfDifferentWidth) {
    const std::string art = plainArt();
    const std::string row = art.substr(art.find('\n') + 1);
    GRCfontData font;
    EXPECT_TRUE(readFontArt(art + row, 2, 3, font));
    EXPECT_FALSE(readFontArt(art + "#" + row, 2, 3, font));
}
