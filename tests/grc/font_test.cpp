#include "grc/font_art.h"

#include <gtest/gtest.h>
#include <string>
#include <utility>

// The band of one character among the sound ones of all others.
TEST(FontArt, OnlyWellFormedArtIsAFont) {
    const std::pair<const char*, bool> bands[] = {
        {"K\n#\n#\n", true},
        {"\nK\n########\n......##\n\n", true},
        {"K\n#########\n.........\n", false}, // too wide
        {"K\n##\n#\n", false},                // ragged
        {"K\n##\n###\n", false},
        {"K\n##\n#o\n", false}, // no pixel
        {"L\n##\n##\n", false}, // another order
        {"KL\n##\n##\n", false},
        {"K\n##\n\n", false}, // pieces too few or too many
        {"K\n##\n## ##\n", false},
        {"", false}, // a character or a line missing
        {"K\n##\n", false},
    };
    for (const auto& [band, is_sound] : bands) {
        std::string art;
        for (char next = '!'; next <= '~'; ++next)
            art += next == 'K' ? band : std::string(1, next) + "\n#.\n.#\n";
        GRCfontData font;
        EXPECT_EQ(readFontArt(art, 2, 3, font), is_sound) << band;
        EXPECT_FALSE(readFontArt(art + "\x7F\n#\n#\n", 2, 3, font)) << "one too many";
    }
}
