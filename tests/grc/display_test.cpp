#include "grc/boxf.h"

#include <climits>
#include <gtest/gtest.h>
#include <vector>

namespace {

std::vector<int> tuple(const GRCrect& area) {
    return {area.position.x, area.position.y, area.extent.width, area.extent.height};
}

} // namespace

TEST(GRCboxF, ClipsAtEveryEdge) {
    const std::pair<GRCrect, GRCrect> cases[] = {
        {{{3, 2}, {4, 3}}, {{3, 2}, {4, 3}}},
        {{{-3, 4}, {5, 2}}, {{0, 4}, {2, 2}}},
        {{{4, -3}, {2, 5}}, {{4, 0}, {2, 2}}},
        {{{18, 4}, {5, 2}}, {{18, 4}, {2, 2}}},
        {{{4, 8}, {2, 5}}, {{4, 8}, {2, 2}}},
        {{{-5, -5}, {100, 100}}, {{0, 0}, {20, 10}}},
        {{{0, 10}, {5, 5}}, {}},
        {{{-5, 0}, {5, 5}}, {}},
        {{{5, 5}, {0, 3}}, {}},
        {{{5, 5}, {3, -1}}, {}},
        {{{15, 5}, {INT_MAX, INT_MAX}}, {{15, 5}, {5, 5}}},
        {{{INT_MAX, INT_MAX}, {INT_MAX, INT_MAX}}, {}},
        {{{INT_MIN, INT_MIN}, {INT_MAX, INT_MAX}}, {}},
        {{{-INT_MAX + 1, 0}, {INT_MAX, 1}}, {{0, 0}, {1, 1}}},
    };
    for (const auto& [box, visible] : cases) {
        GRCdisplay display;
        display.init(20, 10);
        display.committed();
        GRCboxF(box.position, box.extent, 7).draw(display);
        EXPECT_EQ(tuple(display.changed()), tuple(visible));
        for (int y = 0; y < 10; ++y)
            for (int x = 0; x < 20; ++x) {
                const bool is_filled = x >= visible.position.x && x < visible.right() &&
                                       y >= visible.position.y && y < visible.bottom();
                EXPECT_EQ(display.grey(x, y), is_filled ? 7U : 0U) << x << "," << y;
            }
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
    constexpr unsigned int guard = 0xDEADBEEF;
    std::vector<unsigned int> memory(6 * 4 + 2, guard);
    GRCdisplay display;
    display.init(6, 4, memory.data() + 1);
    EXPECT_EQ(display.grey(0, 0), guard & 15) << "memory given keeps its pixels";
    display.clear(0xFFFFFFFF);
    std::vector<unsigned int> expected(6 * 4 + 2, 15);
    expected.front() = expected.back() = guard;
    EXPECT_EQ(memory, expected) << "colours are cut to 4 bits";
    EXPECT_EQ(display.row(3), memory.data() + 1 + 18);
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
