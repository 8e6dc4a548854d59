// Banner, keywords, the wait for the start key, exit status.
#include "virtual_run.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

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

TEST(Startup, AStartKeyBeginsTheTests) {
    const char* const cases[][2] = {{"aes", "7"}, {"plain", "M"}, {"i2c", "M"}, {"engine", "7"}};
    for (const auto& [board, key] : cases) {
        RunPlan plan;
        plan.keywords = {};
        plan.board = board;
        plan.faults = {std::string("key-held=") + key};
        plan.limit_s = 2;
        const RunResult run = run_on_virtual_k4(plan);
        EXPECT_EQ(run.status, limit_status);
        EXPECT_EQ(run.verdict(), "UNDECIDED");
        EXPECT_GE(run.count_events("program", "thread-start"), 5) << board << ' ' << key;
    }
}

TEST(Startup, AnotherKeyDoesNotBegin) {
    RunPlan plan;
    plan.keywords = {};
    plan.faults = {"key-held=8"};
    const RunResult run = run_on_virtual_k4(plan);
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.count_events("program", "thread-start"), 0);
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
    EXPECT_EQ(run.report.at("left_safe"), true);
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

} // namespace
