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

class Table : public testing::Test {
protected:
    Table() { display.init(width, height); }
    GRCdisplay display;
    StatusTable table;
};

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
