// Banner, keywords, the wait for the start key, exit status.
#include "virtual_run.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sstream>

namespace {

using namespace k4test;

constexpr int aborted_status = 250; // -6 as the shell sees it

// Lights the panel with key 1, then aborts.
const std::string press_and_abort = R"(
[[step]]
at = 3
do = "press 1"
[[step]]
at = 6
do = "press E"
[[step]]
at = 7
do = "press E"
)";

struct KeywordCase {
    std::vector<std::string> keywords;
    std::string echo;
};

class Keywords : public testing::TestWithParam<KeywordCase> {};

TEST_P(Keywords, EchoTheSettings) {
    RunPlan plan;
    plan.keywords = GetParam().keywords;
    plan.faults = {"key-held=7"};
    plan.limit_s = 2;
    const RunResult run = run_on_virtual_k4(plan);
    EXPECT_TRUE(run.console_has(GetParam().echo)) << run.console;
}

INSTANTIATE_TEST_SUITE_P(
    Startup, Keywords,
    testing::Values(KeywordCase{{}, "micBoost=1 check=1 keypad=1 analog=1"},
                    KeywordCase{{"run"}, "micBoost=1 check=0 keypad=1 analog=1"},
                    KeywordCase{{"RUN"}, "micBoost=1 check=0 keypad=1 analog=1"},
                    KeywordCase{{"runfast"}, "micBoost=1 check=0 keypad=1 analog=1"},
                    KeywordCase{{"ru"}, "micBoost=1 check=1 keypad=1 analog=1"},
                    KeywordCase{{"nomicboost"}, "micBoost=0 check=1 keypad=1 analog=1"},
                    KeywordCase{{"noKeyPad"}, "micBoost=1 check=1 keypad=0 analog=1"},
                    KeywordCase{{"noanalog"}, "micBoost=1 check=1 keypad=1 analog=0"},
                    KeywordCase{{"verbose", "--help", "%s"},
                                "micBoost=1 check=1 keypad=1 analog=1"},
                    KeywordCase{{"noanalog", "run", "x", "nokeypad", "nomicboost"},
                                "micBoost=0 check=0 keypad=0 analog=0"}));

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

class StartKey : public testing::TestWithParam<std::tuple<std::string, std::string>> {};

TEST_P(StartKey, BeginsTheTests) {
    const auto& [board, fault] = GetParam();
    RunPlan plan;
    plan.keywords = {};
    plan.board = board;
    plan.faults = {fault};
    plan.limit_s = 3;
    const RunResult run = run_on_virtual_k4(plan);
    EXPECT_EQ(run.status, 124);
    EXPECT_EQ(run.verdict(), "UNDECIDED");
    EXPECT_GE(run.count_events("program", "thread-start"), 5);
}

INSTANTIATE_TEST_SUITE_P(Startup, StartKey,
                         testing::Combine(testing::Values("aes", "plain", "i2c", "engine"),
                                          testing::Values("key-held=7", "key-held=M")),
                         [](const auto& case_info) {
                             return std::get<0>(case_info.param) + "_" +
                                    std::get<1>(case_info.param).back();
                         });

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
                    StartFailure{6, -5, "Cannot start AES test, error 11"}));

std::string waiting_lines(bool analog) {
    std::string lines = "Wait for Parallel Port test thread to exit...\n"
                        "Wait for Ethernet Ports test thread to exit...\n"
                        "Wait for Frontpanel test thread to exit...\n";
    if (analog) lines += "Wait for Audio test thread to exit...\n";
    return lines + "Wait for USB Ports test thread to exit...\n"
                   "Wait for AES/EBU test thread to exit...\n"
                   "Selftest exits with code -6\n";
}

// Without what the audio test tells about its cycles.
std::string without_levels(const std::string& console) {
    std::istringstream lines(console);
    std::string rest;
    for (std::string line; std::getline(lines, line);)
        if (!line.starts_with("Silence: ")) rest += line + "\n";
    return rest;
}

class Shutdown : public testing::TestWithParam<bool> {};

TEST_P(Shutdown, JoinsInOrderAndLeavesTheDisplayDark) {
    RunPlan plan;
    plan.keywords = {"run"};
    if (!GetParam()) plan.keywords.emplace_back("noanalog");
    plan.scenario = press_and_abort;
    const RunResult run = run_on_virtual_k4(plan);
    EXPECT_EQ(run.status, aborted_status);
    EXPECT_EQ(run.verdict(), "ABORTED");
    const std::string ending = "Frontpanel signals program abortion!\n" + waiting_lines(GetParam());
    EXPECT_TRUE(without_levels(run.console).ends_with(ending)) << run.console;
    ASSERT_EQ(run.count_events("oled", "final-picture"), 1);
    EXPECT_TRUE(all_of_grey(run.final_picture, 0)) << as_text(run.final_picture);
    EXPECT_EQ(!row_shows(run.last_lit(), 4, "AnalogAudio", ""), GetParam());
}

INSTANTIATE_TEST_SUITE_P(Startup, Shutdown, testing::Bool(), [](const auto& case_info) {
    return case_info.param ? "analog" : "noanalog";
});

} // namespace
