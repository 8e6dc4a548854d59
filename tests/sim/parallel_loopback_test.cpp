#include "fake_surroundings.h"
#include "sim/models/device.h"

#include <gmock/gmock.h>
#include <set>

using k4sim::Board;
using k4sim::Device;
using testing::ElementsAre;

namespace {

constexpr std::uint16_t output = 0xD002;
constexpr std::uint16_t input = 0xD003;

unsigned looped(Device& device, unsigned pattern) {
    device.out(output, static_cast<std::uint8_t>(pattern));
    return device.in(input);
}

TEST(ParallelLoopback, AFlakyLineIsWrongOnceInEachRunOfReadings) {
    constexpr unsigned run = 66, runs = 50;
    const auto wrong_places = [](std::uint64_t seed) {
        FakeSurroundings surroundings;
        Device device(Board::aes, surroundings, seed);
        device.set_fault("parallel-flaky", "5:66");
        std::vector<unsigned> places;
        for (unsigned reading = 0; reading < run * runs; ++reading)
            if (looped(device, reading & 0xFF) != (reading & 0xFF)) places.push_back(reading);
        return places;
    };
    const std::vector<unsigned> places = wrong_places(1);
    ASSERT_EQ(places.size(), runs);
    std::set<unsigned> within;
    for (unsigned i = 0; i < runs; ++i) {
        EXPECT_EQ(places[i] / run, i);
        within.insert(places[i] % run);
    }
    // By chance and not in step with a test's 66 readings, else some would never be seen.
    EXPECT_GT(within.size(), runs / 3);
    EXPECT_EQ(places, wrong_places(1));
    EXPECT_NE(places, wrong_places(2));
}

TEST(ParallelLoopback, ShortsSideBySideJoinAllTheirLines) {
    FakeSurroundings surroundings;
    Device device(Board::aes, surroundings);
    for (const char* line : {"0", "1"})
        device.set_fault("parallel-tied-high", line);
    for (const char* line : {"4", "5"})
        device.set_fault("parallel-tied-low", line);
    for (const unsigned line : {0x01U, 0x02U, 0x04U})
        EXPECT_EQ(looped(device, line), 0x07U) << line;
    for (const unsigned line : {0x10U, 0x20U, 0x40U})
        EXPECT_EQ(looped(device, 0xFF & ~line), 0x8FU) << line;
}

TEST(ParallelLoopback, EventsTellTheFirstMismatchesAndThenFewer) {
    FakeSurroundings surroundings;
    Device device(Board::aes, surroundings);
    device.set_fault("parallel-low", "4");
    looped(device, 0x01);
    for (int i = 0; i < 5; ++i)
        looped(device, 0x11);
    EXPECT_THAT(surroundings.events, ElementsAre("parallel mismatch driven=17 read=1 count=1",
                                                 "parallel mismatch driven=17 read=1 count=2",
                                                 "parallel mismatch driven=17 read=1 count=4"));
}

} // namespace
