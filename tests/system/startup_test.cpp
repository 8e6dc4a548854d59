// Banner, keywords, the wait for the start key, exit status.
#include "virtual_run.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sstream>

namespace {

using namespace k4test;

TEST(Startup, KeywordsEchoTheirSettings) {
    const struct {
        std::vector<std::string> keywords;
        const char* echo;
    } cases[] = {
        {{"run"}, "micBoost=1 check=0 keypad=1 analog=1"},
        {{"RUN"}, "micBoost=1 check=0 keypad=1 analog=1"},
        {{"runfast"}, "micBoost=1 check=0 keypad=1 analog=1"},
        {{"ru"}, "micBoost=1 check=1 keypad=1 analog=1"},
        {{"nomicboost"}, "micBoost=0 check=1 keypad=1 analog=1"},
        {{"noKeyPad"}, "micBoost=1 check=1 keypad=0 analog=1"},
        {{"noanalog"}, "micBoost=1 check=1 keypad=1 analog=0"},
        {{"verbose", "--help", "%s"}, "micBoost=1 check=1 keypad=1 analog=1"},
        {{"noanalog", "run", "x", "nokeypad", "nomicboost"},
         "micBoost=0 check=0 keypad=0 analog=0"},
    };
    RunPlan plan;
    plan.limit_s = 2;
    for (const auto& [keywords, echo] : cases) {
        plan.keywords = keywords;
        const RunResult run = run_on_virtual_k4(plan);
        EXPECT_TRUE(run.console_has(echo)) << run.console;
    }
}

TEST(Startup, LeavesAfterHalfASecondWithoutAKey) {
    RunPlan plan;
    plan.keywords = {};
    const RunResult run = run_on_virtual_k4(plan);
    EXPECT_EQ(run.status, 0);
    EXPECT_THAT(run.console, testing::MatchesRegex("[*]{5} Vorlink K/4 selftest V1[.]7, "
                                                   "[A-Z][a-z]{2} [ 1-3][0-9] [0-9]{4} [*]{5}\n"
                                                   "micBoost=1 check=1 keypad=1 analog=1\n"));
    EXPECT_NEAR(run.seconds(), 0.5, 0.02);
    EXPECT_EQ(run.verdict(), "NOT RUN");
    EXPECT_EQ(run.live, run.console);
}

class StartKey : public testing::TestWithParam<std::string> {};

TEST_P(StartKey, BeginsTheTests) {
    for (const std::string key : {"7", "M"}) {
        RunPlan plan;
        plan.keywords = {};
        plan.board = GetParam();
        plan.faults = {"key-held=" + key};
        plan.limit_s = 3;
        const RunResult run = run_on_virtual_k4(plan);
        EXPECT_EQ(run.status, 124);
        EXPECT_EQ(run.verdict(), "UNDECIDED");
        EXPECT_GE(run.count_events("program", "thread-start"), 5) << key;
    }
}

INSTANTIATE_TEST_SUITE_P(Startup, StartKey, testing::Values("aes", "plain", "i2c", "engine"),
                         [](const auto& board) { return board.param; });

TEST(Startup, AnotherKeyDoesNotBegin) {
    RunPlan plan;
    plan.keywords = {};
    plan.faults = {"key-held=8"};
    const RunResult run = run_on_virtual_k4(plan);
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.count_events("program", "thread-start"), 0);
}

TEST(Startup, WithoutPrivilegeReportsAndGoesOn) {
    RunPlan plan;
    plan.keywords = {};
    plan.faults = {"no-privilege"};
    plan.limit_s = 5;
    const RunResult run = run_on_virtual_k4(plan);
    EXPECT_TRUE(run.console_has("Key querier init error -49999")) << run.console;
    EXPECT_TRUE(run.console_has("Frontpanel init error -49999")) << run.console;
    EXPECT_TRUE(run.console_has("FP init error -49999")) << run.console;
    EXPECT_EQ(run.status, 124);
}

struct StartFailure {
    int failing_thread;
    int code;
    std::string message;
};

void PrintTo(const StartFailure& failure, std::ostream* out) { *out << failure.message; }

class StartFailures : public testing::TestWithParam<StartFailure> {};

TEST_P(StartFailures, EndWithTheUnitsCode) {
    RunPlan plan;
    plan.faults = {"thread-create=" + std::to_string(GetParam().failing_thread)};
    const RunResult run = run_on_virtual_k4(plan);
    EXPECT_EQ(run.status, 256 + GetParam().code);
    EXPECT_TRUE(run.console_has(GetParam().message)) << run.console;
    EXPECT_TRUE(run.console_has("Selftest exits with code " + std::to_string(GetParam().code)));
    EXPECT_EQ(run.verdict(), "NOT STARTED");
    EXPECT_EQ(run.count_events("program", "thread-start"), GetParam().failing_thread - 1);
}

// Error 11 is EAGAIN, what the kernel says when it has no room for a thread.
INSTANTIATE_TEST_SUITE_P(
    Startup, StartFailures,
    testing::Values(StartFailure{1, -1, "Cannot start parallel port test, error 11"},
                    StartFailure{2, -2, "Cannot start ethernet test, error 11"},
                    StartFailure{3, -3, "Cannot start USB test, error 11"},
                    StartFailure{4, -4, "Cannot start frontpanel test, error 11"},
                    StartFailure{5, -5, "Cannot start audio test, error 11"},
                    StartFailure{6, -5, "Cannot start AES test, error 11"}),
    [](const auto& failure) { return "thread_" + std::to_string(failure.param.failing_thread); });

// Without what the audio test tells about its cycles.
std::string without_levels(const std::string& console) {
    std::istringstream lines(console);
    std::string rest;
    for (std::string line; std::getline(lines, line);)
        if (!line.starts_with("Silence: ")) rest += line + "\n";
    return rest;
}

TEST(Startup, AnAbortJoinsInOrderAndLeavesTheDisplayDark) {
    for (const bool analog : {true, false}) {
        RunPlan plan;
        if (!analog) plan.keywords.emplace_back("noanalog");
        plan.scenario = one_a_second({"press 1", "press E", "press E"});
        const RunResult run = run_on_virtual_k4(plan);
        EXPECT_EQ(run.status, aborted_status);
        EXPECT_EQ(run.verdict(), "ABORTED");
        EXPECT_THAT(
            without_levels(run.console),
            testing::EndsWith("Frontpanel signals program abortion!\n"
                              "Wait for Parallel Port test thread to exit...\n"
                              "Wait for Ethernet Ports test thread to exit...\n"
                              "Wait for Frontpanel test thread to exit...\n" +
                              std::string(analog ? "Wait for Audio test thread to exit...\n" : "") +
                              "Wait for USB Ports test thread to exit...\n"
                              "Wait for AES/EBU test thread to exit...\n"
                              "Selftest exits with code -6\n"));
        ASSERT_EQ(run.count_events("oled", "final-picture"), 1);
        EXPECT_TRUE(all_of_grey(run.final_picture, 0)) << as_text(run.final_picture);
        EXPECT_EQ(!row_shows(run.last_lit(), 4, "AnalogAudio", ""), analog);
    }
}

} // namespace
