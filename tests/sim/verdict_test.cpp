#include "sim/launcher/verdict.h"

#include <gtest/gtest.h>

namespace {

using namespace k4sim;

std::string closing(int code) {
    return "x\nSelftest exits with code " + std::to_string(code) + "\n";
}

TEST(Verdict, FromConsoleStatusAndReport) {
    const struct {
        std::string console;
        bool limit, deadlock;
        ProcessEnd end;
        const char* verdict;
    } cases[] = {
        {closing(0), false, false, {false, 0}, "PASSED"},
        {closing(-6), false, false, {false, 250}, "ABORTED"},
        {closing(-1), false, false, {false, 255}, "NOT STARTED"},
        {closing(-5), false, false, {false, 251}, "NOT STARTED"},
        {"banner\n", false, false, {false, 0}, "NOT RUN"},
        {"no line: Selftest exits with code 0\n", false, false, {false, 0}, "NOT RUN"},
        {"Selftest exits with code 0\n", false, false, {false, 0}, "PASSED"},
        {closing(0) + "more\n", false, false, {false, 0}, "NOT RUN"},
        {closing(-6), false, false, {false, 0}, "NOT RUN"},
        {"banner\n", false, false, {false, 250}, "DIED"},
        {closing(0), false, false, {false, 250}, "DIED"},
        {closing(0), false, false, {true, 11}, "DIED"},
        {closing(0), false, true, {false, 125}, "DIED"},
        {"banner\n", true, false, {false, 124}, "UNDECIDED"},
    };
    for (const auto& test : cases) {
        Observation seen;
        seen.console = test.console;
        seen.limit = test.limit;
        seen.deadlock = test.deadlock;
        EXPECT_EQ(verdict_name(judge(seen, test.end)), test.verdict)
            << test.console << test.end.code;
    }
}

} // namespace
