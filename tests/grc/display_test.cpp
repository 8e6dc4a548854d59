#include "grc/boxf.h"

#include <algorithm>
#include <climits>
#include <gtest/gtest.h>
#include <random>
#include <vector>

namespace {

std::vector<int> tuple(const GRCrect& area) {
    return {area.position.x, area.position.y, area.extent.width, area.extent.height};
}

} // namespace

// Boxes of any place and extent, each pixel judged by itself.
TEST(GRCboxF, ClipsAtEveryEdge) {
    std::mt19937 random;
    const auto any = [&random]() -> int {
        constexpr int far[] = {INT_MIN, -INT_MAX + 1, INT_MAX};
        return random() % 8 ? static_cast<int>(random() % 40) - 15 : far[random() % 3];
    };
    for (int run = 0; run < 3000; ++run) {
        const GRCrect box{{any(), any()}, {any(), any()}};
        std::vector<unsigned int> pixels(20 * 10), expected_pixels(20 * 10);
        GRCdisplay display, expected;
        display.init(20, 10, pixels.data());
        expected.init(20, 10, expected_pixels.data());
        display.committed();
        expected.committed();
        GRCboxF(box.position, box.extent, 7).draw(display);
        for (int i = 0; i < 20 * 10; ++i) {
            const long long right = i % 20 - static_cast<long long>(box.position.x);
            const long long down = i / 20 - static_cast<long long>(box.position.y);
            if (right >= 0 && right < box.extent.width && down >= 0 && down < box.extent.height)
                expected.put(i % 20, i / 20, 7);
        }
        EXPECT_EQ(pixels, expected_pixels);
        EXPECT_EQ(tuple(display.changed()), tuple(expected.changed()));
    }
}

TEST(GRCdisplay, ChangedAreaBoundsEverythingDrawnSinceTheCommit) {
    GRCdisplay display;
    display.init(256, 64);
    EXPECT_EQ(tuple(display.changed()), (std::vector{0, 0, 256, 64})) << "nothing was sent yet";
    display.committed();
    EXPECT_TRUE(display.changed().empty());
    for (const auto& [x, y] : {GRCpoint{255, 63}, {10, 60}, {-1, 5}, {256, 5}, {5, -1}, {5, 64}})
        display.put(x, y, 1);
    EXPECT_EQ(tuple(display.changed()), (std::vector{10, 60, 246, 4}));
    display.clear(3);
    EXPECT_EQ(tuple(display.changed()), (std::vector{0, 0, 256, 64}));
    EXPECT_TRUE(display.grey(0, 0) == 3 && display.grey(255, 63) == 3);
}

TEST(GRCdisplay, DrawsIntoGivenMemoryOnly) {
    std::vector<unsigned int> memory(6 * 4 + 1, 0x99);
    GRCdisplay display;
    display.init(6, 4, memory.data());
    EXPECT_EQ(display.grey(0, 0), 9U) << "memory given keeps its pixels";
    display.clear(0xFFFFFFFF);
    EXPECT_EQ(std::ranges::count(memory, 15), 6 * 4) << "colours are cut to 4 bits";
    EXPECT_EQ(memory.back(), 0x99U);
    EXPECT_EQ(display.row(3), memory.data() + 18);
    for (const auto& [x, y] : {GRCpoint{-1, 0}, {0, -1}, {6, 3}, {5, 4}})
        EXPECT_EQ(display.grey(x, y), 0U) << "outside";
}

TEST(GRCdisplay, RefusesImpossibleExtents) {
    GRCdisplay display;
    for (const GRCsize size : {GRCsize{0, 5}, {5, 0}, {-1, 5}, {5, -1}, {16385, 1}, {1, INT_MAX}}) {
        display.init(16384, 1);
        EXPECT_EQ(display.size(), (GRCsize{16384, 1}));
        display.init(size.width, size.height);
        EXPECT_EQ(display.size(), GRCsize{}) << size.width << " x " << size.height;
        display.clear(5);
        EXPECT_TRUE(display.changed().empty());
    }
}
