// The parallel port, the network links and the serial adapters side by side: what their rows
// read on the way, and how long they take.
#include "virtual_run.h"

#include <gtest/gtest.h>

namespace {

using namespace k4test;

struct Unit {
    int row;
    const char* label;
    int thread; // in the order in which they start
};

constexpr Unit parallel{0, "ParallelPrt", 1};
constexpr Unit ethernet{1, "Ethernet", 2};
constexpr Unit usb{3, "USB Ports", 3};

RunResult run_with(const std::vector<std::string>& faults, int limit_s) {
    RunPlan plan;
    plan.automatic_operator = true;
    plan.faults = faults;
    plan.limit_s = limit_s;
    return run_on_virtual_k4(plan);
}

bool has_read(const RunResult& run, const Unit& unit, std::string_view status) {
    return row_ever_shows(run, unit.row, unit.label, status);
}

// When the unit's thread began or ended, in seconds; -1: it did not.
double when(const RunResult& run, std::string_view what, const Unit& unit) {
    for (const auto& event : run.events)
        if (event.at("event") == what && event.at("thread") == unit.thread)
            return event.at("t").get<double>() / 1e6;
    return -1;
}

// The USB test takes a byte a millisecond from each adapter, half as fast as they come over
// the cable, and a round has 75 bytes on the average.
TEST(Bus, UnitsPassInTheirTimes) {
    const RunResult run = run_with({}, 12);
    const struct {
        Unit unit;
        double seconds, tolerance;
    } times[] = {{parallel, 4.2, 0.05}, {ethernet, 9.5, 0.05}, {usb, 7.5, 0.1}};
    for (const auto& [unit, seconds, tolerance] : times) {
        const double took = when(run, "thread-end", unit) - when(run, "thread-start", unit);
        EXPECT_NEAR(took, seconds, seconds * tolerance) << unit.label;
        EXPECT_TRUE(row_shows(run.last_lit(), unit.row, unit.label, "OK"));
    }
}

TEST(Bus, BothAdaptersAreMissed) {
    const RunResult run = run_with({"serial-absent=1", "serial-absent=2"}, 12);
    EXPECT_TRUE(row_shows(run.last_lit(), usb.row, usb.label, "Missing USBs: 2"));
    EXPECT_EQ(run.count_events("serial", "unplugged"), 2);
}

TEST(Bus, EveryKindOfBadLineHasItsCharacter) {
    const RunResult run =
        run_with({"parallel-high=0", "parallel-low=1", "parallel-open=2", "parallel-inverted=3",
                  "parallel-tied-high=4", "parallel-tied-low=6"},
                 5);
    EXPECT_TRUE(row_shows(run.last_lit(), parallel.row, parallel.label, "Bit status: 1000HHLL"));
    EXPECT_GT(run.count_events("parallel", "mismatch"), 0);
}

TEST(Bus, RoundsAreCountedUntilOneIsSpoilt) {
    const RunResult run = run_with({"serial-byte-lost=5000"}, 12);
    EXPECT_EQ(run.count_events("serial", "byte-lost"), 1);
    std::vector<int> counts;
    for (int rounds = 0; rounds <= 100; ++rounds)
        if (has_read(run, usb, "In progress: " + std::to_string(rounds))) counts.push_back(rounds);
    ASSERT_GE(counts.size(), 2U);
    // A round takes 100 to 200 bytes over the cable.
    EXPECT_GE(counts.back(), 4999 / 200);
    EXPECT_LE(counts.back(), 4999 / 100);
}

TEST(Bus, AFlappingLinkComesAndGoes) {
    const RunResult run = run_with({"link-flapping=usb0"}, 15);
    EXPECT_TRUE(has_read(run, ethernet, "LAN-ok   WAN-??"));
    EXPECT_TRUE(has_read(run, ethernet, "LAN-ok   WAN-ok"));
    EXPECT_FALSE(has_read(run, ethernet, "OK"));
    EXPECT_EQ(run.count_events("link", "down"), 3);
    EXPECT_EQ(run.count_events("link", "up"), 3);
}

// The panel is behind the same CPLD, so no row tells. Versions without a panel are known to the
// parallel test up to 239.
TEST(Bus, AnUnknownCpldEndsTheParallelTestBeforeItTouchesALine) {
    for (const char* fault : {"cpld-id=9", "cpld-version=240"}) {
        const RunResult run = run_with({fault, "parallel-low=0"}, 2);
        EXPECT_GE(when(run, "thread-end", parallel), 0) << fault;
        EXPECT_LT(when(run, "thread-end", parallel), 0.001) << fault;
        EXPECT_EQ(run.count_events("parallel", "mismatch"), 0) << fault;
    }
}

} // namespace
