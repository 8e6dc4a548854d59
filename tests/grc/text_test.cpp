#include "grc/boxf.h"
#include "grc/text.h"

#include <climits>
#include <string>

#include <gtest/gtest.h>

namespace {

constexpr GRCsize panelSize = {256, 64};
constexpr int statusLeft = 70;
constexpr int statusWidth = 186;
constexpr int rowDistance = 10;

class Text : public testing::Test {
protected:
    Text() {
        font.setfont(F9x5p);
        text.font(font, 0);
        text.color(15, 0, 0);
        display.init(panelSize.width, panelSize.height);
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

TEST_F(Text, EveryStatusTextFitsItsColumn) {
    // The longest of each test, and the labels in front of them.
    for (const char* characters :
         {"0123456789*#LRKEACDMhH", "Missing Ml Mr M Esc H Hl Hr ", "Bit status: HHHHHHHH",
          "CPLDerr: ID=255 VER=255", "Motherboard CPLD not detected",
          "Silence/DC -922.0 -922.0 -955.0 -955.0", "Loop gain (line) -1000.0 -1000.0 (2)",
          "Cannot open 'hw:0,1' playback", "SR config error -2147483648",
          "Wait for 44100 Hz 'LOCK'", "Cannot get AES stream info"})
        EXPECT_LE(font.width(characters), statusWidth) << characters;
    for (const char* label :
         {"ParallelPrt", "Ethernet", "Frontpanel", "USB Ports", "AnalogAudio", "AES/EBU"})
        EXPECT_LT(font.width(label), statusLeft) << label;
    EXPECT_LT(font.height(), rowDistance);
}

TEST_F(Text, DrawsTheLettersPixelByPixel) {
    draw("Lg", {10, 20});
    const GRCrect& changed = display.changed();
    EXPECT_TRUE(changed.position.x == 10 && changed.position.y == 20);
    EXPECT_EQ(changed.extent.width, font.width("Lg"));
    EXPECT_EQ(changed.extent.height, 9);
    const std::string expected[] = {
        "#.........", "#.........", "#.....###.", "#....#..#.", "#....#..#.",
        "#....#..#.", "####..###.", "........#.", ".....###..",
    };
    for (int row = 0; row < 9; ++row)
        for (int column = 0; column < 10; ++column)
            EXPECT_EQ(display.grey(10 + column, 20 + row),
                      expected[row][static_cast<std::size_t>(column)] == '#' ? 15U : 0U)
                << "column " << column << " row " << row;
}

TEST_F(Text, ClippedTextIsTheVisiblePartOfTheWholeText) {
    const char* const characters = "Wait for 44100 Hz 'LOCK'";
    GRCdisplay large;
    large.init(600, 200);
    text.text(characters);
    text.color(9, 4, 0);
    for (const GRCpoint position : {GRCpoint{-20, 30},
                                    {200, 30},
                                    {30, -4},
                                    {30, 60},
                                    {-3, -3},
                                    {250, 58},
                                    {-129, 10},
                                    {256, 10},
                                    {10, 64},
                                    {10, -9}}) {
        large.clear(2);
        display.clear(2);
        text.position({position.x + 200, position.y + 70});
        text.draw(large);
        text.position(position);
        text.draw(display);
        for (int y = 0; y < panelSize.height; ++y)
            for (int x = 0; x < panelSize.width; ++x)
                ASSERT_EQ(display.grey(x, y), large.grey(x + 200, y + 70))
                    << "text at " << position.x << "," << position.y << ", pixel " << x << "," << y;
    }
}

TEST_F(Text, FarOutsideNothingIsDrawn) {
    for (const int far : {INT_MIN, INT_MIN + 5, -10000, 10000, INT_MAX - 5, INT_MAX}) {
        draw("Hallo", {far, 10});
        draw("Hallo", {10, far});
        draw("Hallo", {far, far});
    }
    EXPECT_TRUE(display.changed().empty());
}

TEST_F(Text, TransparentTextKeepsThePixelsBetweenTheStrokes) {
    display.clear(6);
    text.color(12, 3, 1);
    draw("L", {0, 0});
    EXPECT_EQ(display.grey(0, 0), 12U);
    EXPECT_EQ(display.grey(1, 0), 6U);
    text.color(12, 3, 0);
    draw("L", {0, 0});
    EXPECT_EQ(display.grey(0, 0), 12U);
    EXPECT_EQ(display.grey(1, 0), 3U);
    EXPECT_EQ(display.grey(4, 8), 3U) << "gap behind the character";
    EXPECT_EQ(display.grey(5, 0), 6U);
}

TEST_F(Text, ExtraSpacingWidensEveryCharacter) {
    text.font(font, 3);
    draw("HH", {0, 0});
    EXPECT_EQ(display.changed().extent.width, font.width("HH") + 6);
    EXPECT_EQ(display.grey(8, 0), 15U);
    text.font(font, INT_MIN);
    display.committed();
    draw("HH", {0, 0});
    EXPECT_EQ(display.changed().extent.width, font.width("HH"));
    text.font(font, INT_MAX);
    draw("HH", {0, 0});
    EXPECT_EQ(display.changed().extent.width, panelSize.width);
}

TEST_F(Text, WithoutFontNothingIsDrawn) {
    GRCtext bare;
    bare.text("Hallo");
    bare.draw(display);
    const GRCfont empty;
    bare.font(empty, 0);
    bare.draw(display);
    EXPECT_TRUE(display.changed().empty());
    EXPECT_EQ(empty.width("Hallo"), 0);
}

TEST_F(Text, UnprintableCharactersLookLikeQuestionMarks) {
    for (const char* characters : {"\x01", "\x7F", "\x80", "\xFF", "\n"}) {
        EXPECT_EQ(font.width(characters), font.width("?"));
        EXPECT_EQ(&font.glyph(characters[0]), &font.glyph('?'));
    }
}
