// What a campaign makes of its runs.
#include "sim/campaign/sighting.h"
#include "sim/campaign/time_left.h"

#include <gtest/gtest.h>

namespace {

using namespace k4sim;

Sighting sighting(const std::string& verdict, const std::string& usb, const std::string& audio,
                  const std::string& pitch = "500 Hz") {
    Sighting seen;
    seen.verdict = verdict;
    if (!usb.empty()) seen.rows = {{"USB Ports", {{0, usb}}}, {"AnalogAudio", {{0, audio}}}};
    seen.perceived = {pitch};
    return seen;
}

TEST(Campaign, TellsTheClassOfARunByTheRunWithoutAFault) {
    const Sighting passes = sighting("PASSED", "OK", "OK");
    const Sighting ended = sighting("ABORTED", "OK", "");
    const struct {
        const char* unit;
        const Sighting& good;
        Sighting run;
        const char* expected;
    } cases[] = {
        {"USB Ports", passes, sighting("ABORTED", "Not running", "OK"), "detected"},
        {"USB Ports", passes, sighting("ABORTED", "OK", "Loop gain"), "misleading"},
        {"USB Ports", passes, sighting("NOT STARTED", "", ""), "misleading"},
        {"", passes, sighting("NOT STARTED", "", ""), "detected"},
        {"", passes, sighting("ABORTED", "Not running", "OK"), "detected"},
        {"USB Ports", passes, sighting("PASSED", "OK", "OK"), "escaped"},
        {"USB Ports", passes, sighting("PASSED", "OK", "OK", "400 Hz"), "operator"},
        {"USB Ports", ended, sighting("ABORTED", "OK", ""), "escaped"},
        {"USB Ports", ended, sighting("ABORTED", "OK", "", "400 Hz"), "operator"},
        {"USB Ports", ended, sighting("ABORTED", "Not running", ""), "detected"},
        {"AnalogAudio", ended, sighting("ABORTED", "Not running", ""), "misleading"},
        {"USB Ports", passes, sighting("UNDECIDED", "Not running", "OK"), "blocked"},
        {"USB Ports", passes, sighting("DIED", "Not running", "OK"), "died"},
    };
    for (const auto& [unit, good, run, expected] : cases)
        EXPECT_EQ(class_of({"f", "aes", unit, "", ""}, run, good), expected)
            << unit << ": " << run.verdict;
}

TEST(Campaign, TellsTheTimeLeft) {
    EXPECT_EQ(time_left_line(0, 90, 0, 3.0), "0 of 90 runs");
    EXPECT_EQ(time_left_line(30, 90, 0, 15.0), "30 of 90 runs, 30 s left");
    EXPECT_EQ(time_left_line(30, 90, 2, 100.1),
              "30 of 90 runs, 2 not as expected, 3 min 21 s left");
    EXPECT_EQ(time_left_line(1, 3601, 0, 2.0), "1 of 3601 runs, 2 h 0 min left");
}

} // namespace
