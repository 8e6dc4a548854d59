#include "grc/font_art.h"

#include <algorithm>
#include <string>

#include <gtest/gtest.h>

namespace {

std::string picture(const GRCglyph& glyph, int height) {
    std::string lines;
    for (int row = 0; row < height; ++row) {
        for (int column = 0; column < glyph.width; ++column)
            lines += glyph.rows[static_cast<std::size_t>(row)] >> column & 1 ? '#' : '.';
        lines += '\n';
    }
    return lines;
}

const GRCglyph& glyph(char character) {
    return F9x5p.glyphs[static_cast<std::size_t>(character - GRCfontData::first)];
}

int bottom(const GRCglyph& glyph) {
    int row = 15;
    while (row >= 0 && glyph.rows[static_cast<std::size_t>(row)] == 0)
        --row;
    return row;
}

int top(const GRCglyph& glyph) {
    int row = 0;
    while (row < 16 && glyph.rows[static_cast<std::size_t>(row)] == 0)
        ++row;
    return row;
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

TEST(F9x5p, EveryCharacterLooksDifferent) {
    for (char a = '!'; a <= '~'; ++a)
        for (char b = static_cast<char>(a + 1); b <= '~'; ++b)
            EXPECT_NE(picture(glyph(a), 9), picture(glyph(b), 9)) << a << " " << b;
}

// Characters that a reader takes for each other differ in more than one pixel.
TEST(F9x5p, SimilarCharactersDifferClearly) {
    const char* const groups[] = {"0OD", "1lI|!i", "5S", "8B", "2Z", "`'\"", "({[",
                                  ")}]", ",.",     ":;", "UV", "vy", "gq",   "-_~"};
    for (const std::string group : groups)
        for (std::size_t i = 0; i < group.size(); ++i)
            for (std::size_t k = i + 1; k < group.size(); ++k) {
                int difference = 0;
                for (std::size_t row = 0; row < 9; ++row)
                    difference +=
                        __builtin_popcount(glyph(group[i]).rows[row] ^ glyph(group[k]).rows[row]);
                EXPECT_GE(difference, 2) << group[i] << " " << group[k];
            }
}

TEST(F9x5p, CharactersStandOnTheBaseLine) {
    for (const char character : std::string("ABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789")) {
        EXPECT_EQ(top(glyph(character)), 0) << character;
        EXPECT_EQ(bottom(glyph(character)), 6) << character;
    }
    for (const char character : std::string("abcdefhiklmnorstuvwxz"))
        EXPECT_EQ(bottom(glyph(character)), 6) << character;
    for (const char character : std::string("gjpqy"))
        EXPECT_EQ(bottom(glyph(character)), 8) << character;
    for (const char character : std::string("acegmnopqrsuvwxyz"))
        EXPECT_EQ(top(glyph(character)), 2) << character;
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
    EXPECT_EQ(bottom(glyph(' ')), -1);
}

TEST(FontArt, AcceptsBandsOfConsecutiveCharacters) { EXPECT_TRUE(isWellFormed(plainArt())); }

TEST(FontArt, RefusesMalformedLines) {
    const auto changed = [](const char* from, const char* to) {
        std::string art = plainArt();
        return art.replace(art.find(from), std::string(from).size(), to);
    };
    EXPECT_FALSE(isWellFormed(changed("A B C", "A C B"))) << "characters out of order";
    EXPECT_FALSE(isWellFormed(changed("A B C", "A C"))) << "a character is missing";
    EXPECT_FALSE(isWellFormed(changed("\n# #", "\n# x"))) << "not a pixel";
    EXPECT_FALSE(isWellFormed(changed("\n# #", "\n#"))) << "a piece is missing";
    EXPECT_FALSE(isWellFormed(changed("\n# #", "\n# # #"))) << "a piece too many";
    EXPECT_FALSE(isWellFormed(changed("\n# #", "\n#........ #"))) << "too wide";
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
