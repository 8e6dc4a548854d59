#include "grc/font_art.h"

#include <gtest/gtest.h>
#include <string>
#include <tuple>

namespace {

// Whether art is a font, of all characters with two rows of "#." and ".#" each; but one
// character has another heading and other pieces.
bool is_font(char other, std::string heading, std::string upper, std::string lower,
             GRCfontData font = {}) {
    std::string lines[3];
    for (char next = '!'; next <= '~'; ++next) {
        lines[0] += (next == other ? heading : std::string(1, next)) + " ";
        lines[1] += (next == other ? upper : "#.") + " ";
        lines[2] += (next == other ? lower : ".#") + " ";
    }
    return readFontArt(lines[0] + "\n" + lines[1] + "\n" + lines[2], 2, 3, font);
}

} // namespace

TEST(FontArt, OnlyWellFormedArtIsAFont) {
    const std::tuple<bool, char, const char*, const char*, const char*> cases[] = {
        {true, 'K', "K", "#", "#"},
        {true, 'K', "K", "########", "......##"},
        {false, 'K', "K", "#########", "........."}, // too wide
        {false, 'K', "K", "##", "#"},                // ragged
        {false, 'K', "K", "##", "###"},
        {false, 'K', "K", "##", "#o"}, // no pixel
        {false, 'K', "L", "##", "##"}, // another order
        {false, 'K', "KL", "##", "##"},
        {false, 'K', "K", "##", ""}, // pieces too few or too many
        {false, 'K', "K", "##", "## ##"},
        {false, '~', "", "", ""}, // characters too few or too many
        {false, '~', "~ \x7F", "## ##", "## ##"},
        {false, '~', "~", "##\n", "##"}, // a line missing
        {false, '~', "~", "##", "##\n#"},
    };
    for (const auto& [is_sound, character, heading, upper, lower] : cases)
        EXPECT_EQ(is_font(character, heading, upper, lower), is_sound) << upper << "/" << lower;
}
