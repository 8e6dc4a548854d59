#include "grc/boxf.h"
#include "grc/display.h"
#include "grc/hwgeneric.h"

#include <climits>
#include <vector>

#include <gtest/gtest.h>

namespace {

std::vector<int> tuple(const GRCrect& area) {
    return {area.position.x, area.position.y, area.extent.width, area.extent.height};
}

int countGrey(const GRCdisplay& display, unsigned int grey) {
    int count = 0;
    for (int y = 0; y < display.size().height; ++y)
        for (int x = 0; x < display.size().width; ++x)
            count += display.grey(x, y) == grey;
    return count;
}

struct BoxCase {
    GRCpoint position;
    GRCsize extent;
    GRCrect visible;
};

class RecordingHardware : public GRChwgeneric {
public:
    std::vector<std::vector<int>> areas;

protected:
    void transfer(const GRCdisplay&, const GRCrect& area) override { areas.push_back(tuple(area)); }
};

} // namespace

TEST(GRCboxF, ClipsAtEveryEdge) {
    const BoxCase cases[] = {
        {{3, 2}, {4, 3}, {{3, 2}, {4, 3}}},
        {{-3, 4}, {5, 2}, {{0, 4}, {2, 2}}},
        {{4, -3}, {2, 5}, {{4, 0}, {2, 2}}},
        {{18, 4}, {5, 2}, {{18, 4}, {2, 2}}},
        {{4, 8}, {2, 5}, {{4, 8}, {2, 2}}},
        {{-5, -5}, {100, 100}, {{0, 0}, {20, 10}}},
        {{19, 9}, {1, 1}, {{19, 9}, {1, 1}}},
        {{0, 10}, {5, 5}, {}},
        {{-5, 0}, {5, 5}, {}},
        {{5, 5}, {0, 3}, {}},
        {{5, 5}, {3, -1}, {}},
        {{15, 5}, {INT_MAX, INT_MAX}, {{15, 5}, {5, 5}}},
        {{INT_MAX, INT_MAX}, {INT_MAX, INT_MAX}, {}},
        {{INT_MIN, INT_MIN}, {INT_MAX, INT_MAX}, {}},
        {{-INT_MAX + 1, 0}, {INT_MAX, 1}, {{0, 0}, {1, 1}}},
    };
    for (const BoxCase& box : cases) {
        SCOPED_TRACE(testing::Message() << "box at " << box.position.x << "," << box.position.y);
        GRCdisplay display;
        display.init(20, 10);
        display.committed();
        GRCboxF(box.position, box.extent, 7).draw(display);
        EXPECT_EQ(tuple(display.changed()), tuple(box.visible));
        EXPECT_EQ(countGrey(display, 7), box.visible.extent.width * box.visible.extent.height);
        for (int y = 0; y < box.visible.extent.height; ++y)
            for (int x = 0; x < box.visible.extent.width; ++x)
                EXPECT_EQ(display.grey(box.visible.position.x + x, box.visible.position.y + y), 7U);
    }
}

TEST(GRCdisplay, ChangedAreaBoundsEverythingDrawnSinceTheCommit) {
    GRCdisplay display;
    display.init(256, 64);
    EXPECT_EQ(tuple(display.changed()), (std::vector{0, 0, 256, 64})) << "nothing was sent yet";
    display.committed();
    EXPECT_TRUE(display.changed().empty());
    display.put(255, 63, 1);
    EXPECT_EQ(tuple(display.changed()), (std::vector{255, 63, 1, 1}));
    display.put(10, 60, 1);
    display.put(-1, 5, 1);
    display.put(256, 5, 1);
    display.put(5, 64, 1);
    EXPECT_EQ(tuple(display.changed()), (std::vector{10, 60, 246, 4}));
    display.committed();
    display.clear(3);
    EXPECT_EQ(tuple(display.changed()), (std::vector{0, 0, 256, 64}));
    EXPECT_EQ(countGrey(display, 3), 256 * 64);
}

TEST(GRCdisplay, DrawsIntoGivenMemoryOnly) {
    constexpr unsigned int guard = 0xDEADBEEF;
    std::vector<unsigned int> memory(6 * 4 + 2, guard);
    GRCdisplay display;
    display.init(6, 4, memory.data() + 1);
    EXPECT_EQ(display.grey(0, 0), guard & 15) << "memory given keeps its pixels";
    GRCboxF({-9, -9}, {99, 99}, 0xFFFFFFFF).draw(display);
    EXPECT_EQ(memory.front(), guard);
    EXPECT_EQ(memory.back(), guard);
    EXPECT_EQ(memory[1], 15U) << "colours are cut to 4 bits";
    EXPECT_EQ(display.row(3), memory.data() + 1 + 18);
    EXPECT_EQ(display.grey(5, 3), 15U);
    EXPECT_EQ(display.grey(6, 3), 0U) << "outside";
}

TEST(GRCdisplay, RefusesImpossibleExtents) {
    const GRCsize cases[] = {{0, 5}, {5, 0}, {-1, 5}, {5, -1}, {16385, 1}, {1, INT_MAX}};
    for (const GRCsize size : cases) {
        GRCdisplay display;
        display.init(10, 10);
        display.init(size.width, size.height);
        EXPECT_EQ(display.size(), GRCsize{}) << size.width << " x " << size.height;
        display.clear(5);
        display.put(0, 0, 5);
        EXPECT_TRUE(display.changed().empty());
    }
}

TEST(GRChwgeneric, TransfersTheChangedAreaOrTheWholeDisplayAndForgetsIt) {
    GRCdisplay display;
    display.init(30, 20);
    RecordingHardware hardware;
    hardware.commitFrom(display, true);
    hardware.commitFrom(display, true);
    GRCboxF({4, 5}, {2, 3}, 1).draw(display);
    hardware.commitFrom(display, true);
    GRCboxF({4, 5}, {2, 3}, 2).draw(display);
    hardware.commitFrom(display, false);
    EXPECT_TRUE(display.changed().empty());
    EXPECT_EQ(hardware.areas,
              (std::vector<std::vector<int>>{{0, 0, 30, 20}, {4, 5, 2, 3}, {0, 0, 30, 20}}));
}
