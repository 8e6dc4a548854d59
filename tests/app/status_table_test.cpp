#include "app/status_table.h"

#include <gtest/gtest.h>
#include <string>

namespace {

constexpr int width = 256;
constexpr int height = 64;
constexpr int textLeft = 70;

// Where something is drawn: one character a pixel, one string a row.
std::string picture(const GRCdisplay& display, int left, int right) {
    std::string pixels;
    for (int y = 0; y < height; ++y) {
        for (int x = left; x < right; ++x)
            pixels += display.grey(x, y) == 0 ? '.' : '#';
        pixels += '\n';
    }
    return pixels;
}

std::string drawnAlone(const char* characters, GRCpoint position) {
    GRCdisplay display;
    display.init(width, height);
    GRCfont font;
    font.setfont(F9x5p);
    GRCtext text;
    text.font(font, 0);
    text.color(15, 0, 1);
    text.position(position);
    text.text(characters);
    text.draw(display);
    return picture(display, 0, width);
}

// The pixels that are lit in any of two pictures.
std::string both(std::string first, const std::string& second) {
    for (size_t i = 0; i < first.size(); ++i)
        if (second[i] == '#') first[i] = '#';
    return first;
}

class Table : public testing::Test {
protected:
    Table() { display.init(width, height); }
    GRCdisplay display;
    StatusTable table;
};

TEST_F(Table, LabelsStandTenPixelsApartAtTheLeftEdge) {
    std::string expected(picture(display, 0, width));
    const char* const labels[] = {"ParallelPrt", "Ethernet",    "Frontpanel",
                                  "USB Ports",   "AnalogAudio", "AES/EBU"};
    for (int row = 0; row < 6; ++row)
        expected = both(expected, drawnAlone(labels[row], {0, 10 * row}));
    table.drawLabels(display);
    EXPECT_EQ(picture(display, 0, width), expected);
    EXPECT_EQ(picture(display, textLeft, width).find('#'), std::string::npos);
}

TEST_F(Table, TextsStandInTheirOwnColumnAtFullBrightness) {
    table.drawTexts(display, {"OK", "", "Missing Ml ", "", "", "Not running"});
    const std::string expected =
        both(both(drawnAlone("OK", {70, 0}), drawnAlone("Missing Ml ", {70, 20})),
             drawnAlone("Not running", {70, 50}));
    EXPECT_EQ(picture(display, 0, width), expected);
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x)
            EXPECT_TRUE(display.grey(x, y) == 0 || display.grey(x, y) == 15);
}

TEST_F(Table, NewTextsReplaceOldOnesAndSpareTheLabels) {
    table.drawLabels(display);
    const std::string labels = picture(display, 0, textLeft);
    const char* const longText = "0123456789*#LRKEACDMhH is still missing";
    table.drawTexts(display, {longText, longText, longText, longText, longText, longText});
    table.drawTexts(display, {"OK", "OK", "OK", "OK", "OK", ""});
    GRCdisplay fresh;
    fresh.init(width, height);
    table.drawTexts(fresh, {"OK", "OK", "OK", "OK", "OK", ""});
    EXPECT_EQ(picture(display, textLeft, width), picture(fresh, textLeft, width));
    EXPECT_EQ(picture(display, 0, textLeft), labels);
}

// One changed row is all that has to reach the OLED besides the labels' first picture.
TEST_F(Table, DrawingTouchesOnlyTheTextColumn) {
    display.committed();
    table.drawTexts(display, {"OK", "OK", "OK", "OK", "OK", "OK"});
    EXPECT_EQ(display.changed().position.x, textLeft);
    EXPECT_EQ(display.changed().right(), width);
    EXPECT_EQ(display.changed().bottom(), 60);
}

} // namespace
