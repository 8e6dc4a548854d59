// Every fault of the CPLD, the panel and the speaker: what the operator meets, and the
// verdict. On the board plain, which can never pass, a run that nothing is wrong with
// ends by the operator's abort.
#include "virtual_run.h"

#include <gtest/gtest.h>

namespace {

using namespace k4test;

constexpr int panel_row = 2;

struct FaultCase {
    const char* fault;
    const char* board;
    const char* verdict;
    const char* panel_status; // of the last lit picture; empty: the panel shows nothing
    const char* console;      // a text of the console; empty: any will do
};

void PrintTo(const FaultCase& one, std::ostream* out) { *out << one.fault << " on " << one.board; }

class PanelFault : public testing::TestWithParam<FaultCase> {};

TEST_P(PanelFault, CausesItsVerdict) {
    const FaultCase& expected = GetParam();
    RunPlan plan;
    plan.board = expected.board;
    plan.faults = {expected.fault};
    plan.automatic_operator = true;
    plan.limit_s = 200;
    const RunResult run = run_on_virtual_k4(plan);
    EXPECT_EQ(run.verdict(), expected.verdict);
    EXPECT_NE(run.console.find(expected.console), std::string::npos) << run.console;
    const std::string name = plan.faults[0].substr(0, plan.faults[0].find_first_of("=@"));
    EXPECT_EQ(run.count_events("fault", name), 1);
    if (*expected.panel_status != '\0')
        EXPECT_TRUE(row_shows(run.last_lit(), panel_row, "Frontpanel", expected.panel_status));
    else
        EXPECT_TRUE(run.pictures.empty() ||
                    first_picture_with(run, panel_row, "Frontpanel", "OK") < 0);
}

constexpr const char* no_panel = "Frontpanel init error -49997";

INSTANTIATE_TEST_SUITE_P(
    Faults, PanelFault,
    testing::Values(FaultCase{"cpld-id=9", "plain", "UNDECIDED", "", no_panel},
                    FaultCase{"cpld-id=1", "plain", "ABORTED", "OK", ""},
                    FaultCase{"cpld-version=77", "plain", "UNDECIDED", "", no_panel},
                    FaultCase{"cpld-version=6", "plain", "UNDECIDED", "", no_panel},
                    FaultCase{"encoder-dead=1", "plain", "ABORTED", "LR", ""},
                    FaultCase{"encoder-dead=2", "i2c", "ABORTED", "hH", ""},
                    FaultCase{"key-dead=5", "plain", "ABORTED", "5", ""},
                    FaultCase{"key-dead=E", "engine", "UNDECIDED", "E", ""},
                    FaultCase{"key-held=5", "plain", "ABORTED", "OK", ""},
                    FaultCase{"key-held=7", "plain", "ABORTED", "7", ""},
                    FaultCase{"key-held=M", "i2c", "ABORTED", "M", ""},
                    FaultCase{"key-held=E", "plain", "UNDECIDED", "OK", ""},
                    FaultCase{"key-word-invalid=3", "plain", "ABORTED", "OK", ""},
                    FaultCase{"no-privilege", "plain", "UNDECIDED", "",
                              "Frontpanel init error -49999"},
                    FaultCase{"panel-dead", "plain", "UNDECIDED", "", no_panel},
                    FaultCase{"panel-dead@2", "plain", "UNDECIDED", "", ""},
                    FaultCase{"panel-dead@2", "i2c", "UNDECIDED", "", ""},
                    FaultCase{"panel-type=1", "plain", "UNDECIDED", "", no_panel},
                    FaultCase{"panel-type=0x3C", "plain", "ABORTED", "", ""},
                    FaultCase{"panel-type=0x3C", "i2c", "ABORTED", "OK", ""},
                    FaultCase{"sda-stuck=0", "i2c", "UNDECIDED", "", no_panel},
                    FaultCase{"sda-stuck=1", "engine", "UNDECIDED", "", no_panel},
                    FaultCase{"speaker-absent", "plain", "UNDECIDED", "", "FP init error 0"}));

} // namespace
