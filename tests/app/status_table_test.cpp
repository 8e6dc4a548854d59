#include "app/status_table.h"

#include <gtest/gtest.h>

namespace {

constexpr int width = 256;
constexpr int height = 64;
constexpr int textLeft = 70;

// So only that has to reach the OLED besides the first picture.
TEST(StatusTable, TextsTouchOnlyTheirColumn) {
    GRCdisplay display;
    display.init(width, height);
    display.committed();
    StatusTable().drawTexts(display, {"OK", "OK", "OK", "OK", "OK", "OK"});
    EXPECT_EQ(display.changed().position.x, textLeft);
    EXPECT_EQ(display.changed().right(), width);
    EXPECT_EQ(display.changed().bottom(), 60);
}

} // namespace
