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

TEST(ParallelLoopback, a_fault_of_a_line_shows_in_what_is_read) {
    const struct {
        std::string_view fault, value;
        // Read when driven: 0, all but line 3, line 3 alone, line 4 alone, all.
        unsigned none, others, line, next, all;
    } cases[] = {
        {"parallel-high", "3", 0x08, 0xFF, 0x08, 0x18, 0xFF},
        {"parallel-low", "3", 0x00, 0xF7, 0x00, 0x10, 0xF7},
        {"parallel-open", "3", 0x00, 0xF7, 0x00, 0x10, 0xF7},
        {"parallel-inverted", "3", 0x08, 0xFF, 0x00, 0x18, 0xF7},
        {"parallel-tied-high", "3", 0x00, 0xFF, 0x18, 0x18, 0xFF},
        {"parallel-tied-low", "3", 0x00, 0xE7, 0x00, 0x00, 0xFF},
        {"parallel-flaky", "3:1", 0x08, 0xFF, 0x00, 0x18, 0xF7},
        {"parallel-high", "0", 0x01, 0xF7, 0x09, 0x11, 0xFF},
        {"parallel-low", "7", 0x00, 0x77, 0x08, 0x10, 0x7F},
    };
    for (const auto& row : cases) {
        FakeSurroundings surroundings;
        Device device(Board::aes, surroundings);
        ASSERT_TRUE(device.set_fault(row.fault, row.value)) << row.fault;
        EXPECT_EQ(looped(device, 0x00), row.none) << row.fault;
        EXPECT_EQ(looped(device, 0xF7), row.others) << row.fault;
        EXPECT_EQ(looped(device, 0x08), row.line) << row.fault;
        EXPECT_EQ(looped(device, 0x10), row.next) << row.fault;
        EXPECT_EQ(looped(device, 0xFF), row.all) << row.fault;
    }
}

TEST(ParallelLoopback, a_flaky_line_is_wrong_once_in_each_run_of_readings) {
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

TEST(ParallelLoopback, events_tell_the_first_mismatches_and_then_fewer) {
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
