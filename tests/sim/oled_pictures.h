// Pictures for the tests of the OLED controllers.
#pragma once

#include "sim/models/panel/oled.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <random>
#include <utility>
#include <vector>

inline k4sim::Picture random_picture(unsigned seed) {
    std::mt19937 random(seed);
    k4sim::Picture picture{};
    for (std::uint8_t& grey : picture)
        grey = random() % 16;
    return picture;
}

inline std::uint8_t pixel(const k4sim::Picture& picture, unsigned x, unsigned y) {
    return picture[y * k4sim::glass_width + x];
}

// The picture as seen by someone who stands on his head.
inline k4sim::Picture turned(k4sim::Picture picture) {
    std::reverse(picture.begin(), picture.end());
    return picture;
}

// Rows from top to bottom exchanged.
inline k4sim::Picture upside_down(const k4sim::Picture& picture) {
    k4sim::Picture result{};
    for (unsigned y = 0; y < k4sim::glass_height; ++y)
        std::copy_n(picture.begin() + y * k4sim::glass_width, k4sim::glass_width,
                    result.end() - (y + 1) * k4sim::glass_width);
    return result;
}

inline k4sim::Picture inverse(k4sim::Picture picture) {
    for (std::uint8_t& grey : picture)
        grey = 15 - grey;
    return picture;
}

inline k4sim::Picture lit() {
    k4sim::Picture picture;
    picture.fill(15);
    return picture;
}

// Each command gives its picture, and a sleep in between changes nothing about it.
inline void expect_modes(k4sim::Oled& oled,
                         const std::vector<std::pair<std::uint8_t, k4sim::Picture>>& cases) {
    for (const auto& [command, seen] : cases) {
        SCOPED_TRACE(command);
        oled.command(command);
        EXPECT_EQ(oled.picture(), seen);
        oled.command(0xAE);
        EXPECT_EQ(oled.picture(), k4sim::Picture{});
        oled.command(0xAF);
        EXPECT_EQ(oled.picture(), seen);
    }
}

// Lit are the lines from `first` to `last`, with the picture from `first_row` on in line 0.
inline void expect_rows(const k4sim::Picture& seen, const k4sim::Picture& picture, unsigned first,
                        unsigned last, unsigned first_row) {
    constexpr unsigned x = 77;
    for (unsigned y = 0; y < k4sim::glass_height; ++y) {
        const unsigned row = (y + first_row) % k4sim::glass_height;
        const unsigned expected = first <= y && y <= last ? pixel(picture, x, row) : 0;
        EXPECT_EQ(pixel(seen, x, y), expected) << "row " << y << " from " << first_row;
    }
}
