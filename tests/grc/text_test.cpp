#include "grc/text.h"

#include <climits>
#include <gtest/gtest.h>
#include <random>
#include <string>
#include <tuple>

namespace {

class Text : public testing::Test {
protected:
    Text() {
        font.setfont(F9x5p);
        text.font(font, 0);
        display.init(256, 64);
        display.committed();
    }

    void draw(const char* characters, GRCpoint position) {
        text.text(characters);
        text.position(position);
        text.draw(display);
    }

    GRCfont font;
    GRCtext text;
    GRCdisplay display;
};

} // namespace

// Greys of the upper row, the lowest two and the one below, on a ground of 6.
TEST_F(Text, DrawsCharactersPixelByPixel) {
    const std::tuple<int, int, std::string> cases[] = {
        {0, 0, "c33c366 333c366 33c3366 6666666 "},
        {2, 0, "c66c666 666c666 66c6666 6666666 "},
        {0, 1, "c333c33 3333c33 333c333 6666666 "},
        {0, INT_MIN, "c33c366 333c366 33c3366 6666666 "},
        {0, INT_MAX, "c333333 3333333 3333333 6666666 "},
    };
    for (const auto& [transparent, spacing, expected] : cases) {
        display.init(7, 10);
        display.clear(6);
        text.color(12, 3, transparent);
        text.font(font, spacing);
        draw("ij", {0, 0});
        std::string rows;
        for (const int y : {0, 7, 8, 9}) {
            for (int x = 0; x < 7; ++x)
                rows += "0123456789abcdef"[display.grey(x, y)];
            rows += ' ';
        }
        EXPECT_EQ(rows, expected) << transparent << " " << spacing;
    }
}

TEST_F(Text, ClippedTextIsTheVisiblePartOfTheWholeText) {
    std::mt19937 random;
    GRCdisplay large;
    large.init(600, 200);
    for (int run = 0; run < 200; ++run) {
        std::string characters;
        for (int count = random() % 25; count > 0; --count)
            characters += static_cast<char>(random() % 255 + 1);
        text.text(characters.c_str());
        text.font(font, random() % 8);
        text.color(random() % 16, random() % 16, random() % 3);
        const GRCpoint position{static_cast<int>(random() % 430) - 160,
                                static_cast<int>(random() % 80) - 12};
        large.clear(2);
        display.clear(2);
        text.position({position.x + 200, position.y + 70});
        text.draw(large);
        text.position(position);
        text.draw(display);
        for (int y = 0; y < 64; ++y)
            for (int x = 0; x < 256; ++x)
                ASSERT_EQ(display.grey(x, y), large.grey(x + 200, y + 70)) << run;
    }
}

TEST_F(Text, FarOutsideOrWithoutFontNothingIsDrawn) {
    for (const int far : {INT_MIN, INT_MIN + 5, -10000, 10000, INT_MAX - 5, INT_MAX}) {
        draw("Hallo", {far, 10});
        draw("Hallo", {10, far});
    }
    GRCtext bare;
    bare.text("Hallo");
    bare.draw(display);
    const GRCfont empty;
    bare.font(empty, 0);
    bare.draw(display);
    EXPECT_TRUE(display.changed().empty());
    EXPECT_TRUE(empty.height() == 0 && empty.width("Hallo") == 0);
}

TEST_F(Text, UnprintableCharactersLookLikeQuestionMarks) {
    for (const char character : {'\x01', '\x1F', '\x7F', '\x80', '\xFF', '\n'})
        EXPECT_EQ(&font.glyph(character), &font.glyph('?'));
    EXPECT_EQ(font.width("\x80~ "), font.width("?~") + 4) << "each with its gap";
}
