// The analog audio path as its operator meets it: a device that passes, the levels, and
// what is left switched on afterwards.
#include "virtual_run.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <map>
#include <sstream>

namespace {

using namespace k4test;

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

// Phantom power and boost of both inputs are off at last, the level is nominal.
void expect_safe_inputs(const RunResult& run) {
    std::map<std::string, std::string> last;
    for (const auto& event : run.events)
        if (event.at("event") == "control")
            last[event.at("element")] = event.at("values");
        else if (event.at("source") == "sound" && event.contains("on"))
            last[event.at("event").get<std::string>() + event.at("input").dump()] =
                event.at("on") ? "on" : "off";
    for (const char* name : {"phantom1", "phantom2", "boost1", "boost2"})
        EXPECT_NE(last[name], "on") << name;
    EXPECT_EQ(last["Line In Capture Volume"], "24 24");
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

void PrintTo(const ModeCase& mode, std::ostream* out) { *out << mode.selected; }

class AGoodDevice : public testing::TestWithParam<ModeCase> {};

TEST_P(AGoodDevice, PassesAtTheExpectedLevels) {
    const RunResult run = operated("aes", {"run", GetParam().keyword});
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.verdict(), "PASSED");
    EXPECT_TRUE(run.console.ends_with("Selftest exits with code 0\n")) << run.console;
    EXPECT_NE(run.console.find(GetParam().selected), std::string::npos) << run.console;
    const char* const labels[] = {"ParallelPrt", "Ethernet",    "Frontpanel",
                                  "USB Ports",   "AnalogAudio", "AES/EBU"};
    for (int row = 0; row < 6; ++row)
        EXPECT_TRUE(row_shows(run.last_lit(), row, labels[row], "OK"));
    expect_safe_inputs(run);

    const std::vector<SweepLine> lines = sweep_lines(run);
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

TEST(Audio, APassIsOutOfReachWithoutAnalogTest) {
    const RunResult run = operated("aes", {"run", "noanalog"});
    EXPECT_EQ(run.status, aborted_status);
    EXPECT_TRUE(row_shows(run.last_lit(), audio_row, "AnalogAudio", ""));
    EXPECT_TRUE(row_shows(run.last_lit(), 5, "AES/EBU", "OK"));
}

TEST(Audio, ThePictureNamesTheLineMode) {
    const RunResult run = operated("plain", {"run", "nomicboost"}, {"analog-gain=4"});
    EXPECT_TRUE(
        row_shows(run.last_lit(), audio_row, "AnalogAudio", "Loop gain (line) 4.0 4.0 (2)"));
}

TEST(Audio, PhantomPowerAlternatesWhileTheLoopIsWaitedFor) {
    const RunResult run = operated("aes", {"run"}, {"analog-cable=never"});
    std::vector<int> inputs;
    for (const auto& event : run.events)
        if (event.at("source") == "sound" && event.at("event") == "phantom" && event.at("on"))
            inputs.push_back(event.at("input"));
    ASSERT_GT(inputs.size(), 20U);
    EXPECT_EQ(inputs.front(), 1);
    EXPECT_EQ(std::adjacent_find(inputs.begin(), inputs.end()), inputs.end());
    expect_safe_inputs(run);
}

} // namespace
