// The operator's letters against what the program draws.
#include "sim/operator/screen_reader.h"

#include "baselib/astr.h"
#include "grc/display.h"
#include "grc/font.h"
#include "grc/text.h"

#include <gtest/gtest.h>

namespace {

using namespace k4sim;

void draw(GRCdisplay& display, int x, int y, const std::string& characters) {
    GRCfont font;
    font.setfont(F9x5p);
    GRCtext text;
    text.font(font, 0);
    text.color(15, 0, 0);
    text.position({x, y});
    text.text(KLTastr(characters.c_str()));
    text.draw(display);
}

Picture picture_of(const GRCdisplay& display) {
    Picture picture{};
    for (int y = 0; y < static_cast<int>(glass_height); ++y)
        for (int x = 0; x < static_cast<int>(glass_width); ++x)
            picture[static_cast<std::size_t>(y * static_cast<int>(glass_width) + x)] =
                static_cast<std::uint8_t>(display.grey(x, y));
    return picture;
}

std::string read_back(const std::string& text) {
    GRCdisplay display;
    display.init(glass_width, glass_height);
    draw(display, 70, 20, text);
    return read_text(picture_of(display), 70, glass_width, 20);
}

TEST(ScreenReader, ReadsEveryLetterAfterEveryOther) {
    for (char a = '!'; a <= '~'; ++a)
        for (char b = '!'; b <= '~'; ++b) {
            const std::string text = {a, b, ' ', b};
            ASSERT_EQ(read_back(text), text);
        }
}

TEST(ScreenReader, ReadsTheStatusTable) {
    GRCdisplay display;
    display.init(glass_width, glass_height);
    EXPECT_TRUE(read_screen(picture_of(display)).empty());
    draw(display, 0, 0, "ParallelPrt");
    draw(display, 70, 0, "Bit status: ++0+");
    draw(display, 0, 20, "Frontpanel");
    draw(display, 70, 20, "Missing Ml Mr M Esc H Hl Hr ");
    draw(display, 0, 50, "AES/EBU");
    const std::vector<ScreenRow> rows = read_screen(picture_of(display));
    ASSERT_EQ(rows.size(), 6U);
    EXPECT_EQ(rows[0].label, "ParallelPrt");
    EXPECT_EQ(rows[0].status, "Bit status: ++0+");
    EXPECT_EQ(rows[1].label, "");
    EXPECT_EQ(rows[2].status, "Missing Ml Mr M Esc H Hl Hr");
    EXPECT_EQ(rows[5].label, "AES/EBU");
    EXPECT_EQ(rows[5].status, "");
}

TEST(ScreenReader, WhatIsNoLetterIsNoText) {
    Picture lit{};
    lit.fill(15);
    EXPECT_TRUE(read_screen(lit).empty());
}

} // namespace
