// The analog audio path as its operator meets it: a device that passes, the levels, and
// what is left switched on afterwards.
#include "virtual_run.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <sstream>

namespace {

using namespace k4test;

constexpr int aborted_status = 250; // -6 as the shell sees it
constexpr int audio_row = 4;

RunResult operated(const std::string& board, const std::vector<std::string>& keywords,
                   const std::vector<std::string>& faults = {}) {
    RunPlan plan;
    plan.board = board;
    plan.keywords = keywords;
    plan.faults = faults;
    plan.automatic_operator = true;
    return run_on_virtual_k4(plan);
}

// The value behind `name` in the last event of `source` and `what` that has `input`.
bool last_switch(const RunResult& run, std::string_view what, int input) {
    bool on = false;
    for (const auto& event : run.events)
        if (event.at("source") == "sound" && event.at("event") == what &&
            event.at("input") == input)
            on = event.at("on");
    return on;
}

std::string last_control(const RunResult& run, std::string_view element) {
    std::string values;
    for (const auto& event : run.events)
        if (event.at("event") == "control" && event.at("element") == element)
            values = event.at("values");
    return values;
}

// Levels of both inputs, one line a frequency.
struct SweepLine {
    double hz, expected, left, right;
};

std::vector<SweepLine> sweep_lines(const RunResult& run) {
    std::vector<SweepLine> lines;
    std::istringstream console(run.console);
    for (std::string line; std::getline(console, line);) {
        SweepLine one{};
        if (std::sscanf(line.c_str(), "%lf Hz RMSdc expect = %lf: RMSdc = %lf %lf   OK   OK",
                        &one.hz, &one.expected, &one.left, &one.right) == 4)
            lines.push_back(one);
    }
    return lines;
}

struct ModeCase {
    const char* keyword;
    const char* selected;
    double expected_db;
};

class AGoodDevice : public testing::TestWithParam<ModeCase> {};

TEST_P(AGoodDevice, PassesWithSixRowsOk) {
    const RunResult run = operated("aes", {"run", GetParam().keyword});
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.verdict(), "PASSED");
    EXPECT_TRUE(run.console.ends_with("Selftest exits with code 0\n")) << run.console;
    EXPECT_NE(run.console.find(GetParam().selected), std::string::npos) << run.console;
    const char* const labels[] = {"ParallelPrt", "Ethernet",    "Frontpanel",
                                  "USB Ports",   "AnalogAudio", "AES/EBU"};
    for (int row = 0; row < 6; ++row)
        EXPECT_TRUE(row_shows(run.last_lit(), row, labels[row], "OK"));
}

TEST_P(AGoodDevice, HasTheExpectedLevels) {
    const std::vector<SweepLine> lines = sweep_lines(operated("aes", {"run", GetParam().keyword}));
    ASSERT_EQ(lines.size(), 4U * 7U);
    const double frequencies[] = {25, 100, 500, 1000, 5000, 12000, 19000};
    for (std::size_t i = 0; i < lines.size(); ++i) {
        EXPECT_EQ(lines[i].hz, frequencies[i % 7]);
        EXPECT_NEAR(lines[i].expected, GetParam().expected_db, 1e-4);
        // The first recording has the beginning of the tone in it.
        const double tolerance = i == 0 ? 0.5 : 0.05;
        EXPECT_NEAR(lines[i].left, GetParam().expected_db, tolerance) << lines[i].hz << " Hz";
        EXPECT_NEAR(lines[i].right, GetParam().expected_db, tolerance) << lines[i].hz << " Hz";
    }
}

INSTANTIATE_TEST_SUITE_P(
    Audio, AGoodDevice,
    testing::Values(ModeCase{"", "Microphone input level selected, loop gain = -6.74 dB", -15.7503},
                    ModeCase{"nomicboost", "Line input level selected.", -9.0103}),
    [](const auto& one) { return one.param.expected_db < -10 ? "microphone" : "line"; });

TEST(Audio, APassIsOutOfReachWithoutAesHardwareOrAnalogTest) {
    const RunResult plain = operated("plain", {"run"});
    EXPECT_EQ(plain.status, aborted_status);
    EXPECT_TRUE(row_shows(plain.last_lit(), audio_row, "AnalogAudio", "OK"));
    EXPECT_TRUE(row_shows(plain.last_lit(), 5, "AES/EBU", ""));
    const RunResult noanalog = operated("aes", {"run", "noanalog"});
    EXPECT_EQ(noanalog.status, aborted_status);
    EXPECT_TRUE(row_shows(noanalog.last_lit(), audio_row, "AnalogAudio", ""));
    EXPECT_TRUE(row_shows(noanalog.last_lit(), 5, "AES/EBU", "OK"));
}

TEST(Audio, ThePictureNamesTheLineMode) {
    const RunResult run = operated("plain", {"run", "nomicboost"}, {"analog-gain=4"});
    EXPECT_TRUE(
        row_shows(run.last_lit(), audio_row, "AnalogAudio", "Loop gain (line) 4.0 4.0 (2)"));
}

// Phantom power off, boost off, input at its nominal level: after a pass, and after an abort
// in each phase.
TEST(Audio, NothingStaysSwitchedOn) {
    for (const std::string fault :
         {"", "analog-cable=early", "analog-cable=never", "analog-gain=4"}) {
        SCOPED_TRACE(fault);
        std::vector<std::string> faults;
        if (!fault.empty()) faults.push_back(fault);
        const RunResult run = operated("aes", {"run"}, faults);
        EXPECT_GT(run.count_events("sound", "boost"), 2);
        for (const int input : {1, 2}) {
            EXPECT_FALSE(last_switch(run, "phantom", input));
            EXPECT_FALSE(last_switch(run, "boost", input));
        }
        EXPECT_EQ(last_control(run, "Line In Capture Volume"), "24 24");
    }
}

TEST(Audio, PhantomPowerAlternatesWhileTheLoopIsWaitedFor) {
    const RunResult run = operated("aes", {"run"}, {"analog-cable=never"});
    bool on[] = {false, false};
    int first = -1;
    int alternations = 0;
    for (const auto& event : run.events) {
        if (event.at("source") != "sound" || event.at("event") != "phantom") continue;
        const int input = event.at("input").get<int>() - 1;
        on[input] = event.at("on");
        if (first < 0) first = input;
        alternations += on[input] ? 1 : 0;
    }
    EXPECT_EQ(first, 0) << "input 1 is switched on first";
    EXPECT_GT(alternations, 20);
    EXPECT_FALSE(on[0] || on[1]);
}

} // namespace
