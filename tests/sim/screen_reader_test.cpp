// The operator's letters against what the program draws.
#include "sim/operator/screen_reader.h"
#include "status_picture.h"

#include <gtest/gtest.h>

namespace {

using namespace k4sim;

Picture picture_of(const std::string& text) {
    StatusPicture drawn;
    drawn.draw(status_x, 20, text);
    return drawn.picture();
}

std::string read_back(const std::string& text) {
    return read_text(picture_of(text), status_x, glass_width, 20);
}

bool is_quote(char c) { return c == '"' || c == '\''; }

TEST(ScreenReader, ReadsEveryLetterAfterEveryOther) {
    for (char a = '!'; a <= '~'; ++a)
        for (char b = '!'; b <= '~'; ++b) {
            const std::string text = {a, b, ' ', b};
            // Quotes side by side look alike however they are grouped.
            if (is_quote(a) && is_quote(b))
                ASSERT_EQ(picture_of(read_back(text)), picture_of(text)) << text;
            else
                ASSERT_EQ(read_back(text), text);
        }
}

TEST(ScreenReader, TellsWhereTheEdgeCutsALetter) {
    StatusPicture picture;
    picture.draw(240, 0, "WWWW");
    EXPECT_EQ(read_text(picture.picture(), 240, 256, 0), "WW?");
}

} // namespace
