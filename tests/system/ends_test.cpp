// However the program ends, the models tell that the device is left safe.
#include "virtual_run.h"

#include <fstream>
#include <gmock/gmock.h>

namespace {

using namespace k4test;

struct SignalCase {
    std::string board;
    std::vector<std::string> faults;
    double at_s; // the last signal
    double patience_s = 2.6;
    bool dark = true;   // the panel can still be told
    double least_s = 0; // of joining
};

void PrintTo(const SignalCase& one, std::ostream* out) {
    *out << one.board;
    for (const std::string& fault : one.faults)
        *out << ' ' << fault;
}

class Signal : public testing::TestWithParam<SignalCase> {};

TEST_P(Signal, AbortsAndLeavesTheDeviceSafe) {
    RunPlan plan;
    plan.board = GetParam().board;
    plan.faults = GetParam().faults;
    plan.automatic_operator = true;
    const RunResult run = run_on_virtual_k4(plan);
    EXPECT_EQ(run.status, aborted_status);
    EXPECT_EQ(run.verdict(), "ABORTED");
    EXPECT_TRUE(run.console.ends_with("\nSelftest exits with code -6\n")) << run.console;
    EXPECT_LE(run.seconds() - GetParam().at_s, GetParam().patience_s);
    EXPECT_GE(run.seconds() - GetParam().at_s, GetParam().least_s);
    EXPECT_EQ(run.report.at("left_safe"), true) << run.report;
    EXPECT_EQ(run.report.at("left_on").empty(), GetParam().dark) << run.report;
}

// In the silence phase, in the search for the loop (with phantom power on), in the sweep.
std::vector<SignalCase> signals() {
    std::vector<SignalCase> cases;
    for (const std::string board : {"aes", "plain"}) {
        for (const std::string signal : {"signal=HUP", "signal=INT", "signal=TERM"}) {
            cases.push_back({board, {signal + "@8"}, 8});
            cases.push_back({board, {"analog-cable=never", signal + "@30.5"}, 30.5});
            cases.push_back({board, {signal + "@40"}, 40});
        }
        cases.push_back({board, {"signal=INT@8", "signal=INT@8.001"}, 8.001, 0.1, false});
        cases.push_back({board, {"panel-dead@20", "signal=INT@25"}, 25, 5, false, 3});
        cases.push_back({board, {"panel-dead@20", "signal=INT@25", "signal=HUP@26"}, 26, 1, false});
        cases.push_back({board, {"speaker-absent", "signal=TERM@10"}, 10});
        cases.push_back({board, {"signal=INT@1.5"}, 1.5}); // in the lamp test
    }
    cases.push_back({"i2c", {"panel-dead@5", "signal=INT@6"}, 6, 5, false});
    return cases;
}

INSTANTIATE_TEST_SUITE_P(Ends, Signal, testing::ValuesIn(signals()));

// A console that takes nothing any more ends nothing.
TEST(Ends, AClosedConsoleEndsNothing) {
    for (const std::string console : {"| head -n 1", "> /dev/full"}) {
        const ScratchFolder folder;
        const CommandResult result = run_command(
            {"/bin/bash", "-c",
             "cd " + folder.path().string() +
                 "; set -o pipefail; " K4_SIM " run --record r -- " K4_PROGRAM " run " + console});
        EXPECT_EQ(result.status, 0) << "no pass: " << result.error;
        const auto report = nlohmann::json::parse(std::ifstream(folder.file("r/report.json")));
        EXPECT_EQ(report.at("left_safe"), true);
        EXPECT_EQ(report.at("verdict"), "PASSED");
    }
}

// Without the guard the witness must see what is left on.
TEST(Ends, EachWayOutOfTheProcessLeavesTheDeviceSafe) {
    const struct {
        const char* way;
        int status;
        bool safe;
    } cases[] = {{"return", 0, true},  {"exit", 3, true},     {"exception", 125, true},
                 {"fatal", 125, true}, {"misuse", 255, true}, {"unguarded", 0, false}};
    for (const auto& [way, status, safe] : cases)
        for (const std::string board : {"aes", "plain"}) {
            SCOPED_TRACE(board + " " + way);
            const ScratchFolder folder;
            const CommandResult result =
                run_command({K4_SIM, "run", "--board", board, "--operator", "none", "--record",
                             folder.path(), "--", K4_END_PROBE, way});
            EXPECT_EQ(result.status, status) << result.error;
            const auto report = nlohmann::json::parse(std::ifstream(folder.file("report.json")));
            EXPECT_EQ(report.at("left_safe"), safe) << report;
            EXPECT_EQ(result.error.find("not left safe") == std::string::npos, safe);
        }
}

} // namespace
