// Every fault of the CPLD, the panel and the speaker. On the board plain, which can never
// pass, a run that nothing is wrong with ends by the operator's abort.
#include "fault_case.h"

namespace {

using namespace k4test;

class PanelFault : public testing::TestWithParam<FaultCase> {};

TEST_P(PanelFault, CausesItsVerdict) { expect_verdict(GetParam()); }

constexpr const char* no_panel = "Frontpanel init error -49997";
constexpr const char* panel = "Frontpanel";

INSTANTIATE_TEST_SUITE_P(
    Faults, PanelFault,
    testing::Values(FaultCase{"cpld-id=9", "plain", "UNDECIDED", "", "", no_panel},
                    FaultCase{"cpld-id=1", "plain", "ABORTED", panel, "OK"},
                    FaultCase{"cpld-version=77", "plain", "UNDECIDED", "", "", no_panel},
                    FaultCase{"cpld-version=6", "plain", "UNDECIDED", "", "", no_panel},
                    FaultCase{"encoder-dead=1", "plain", "ABORTED", panel, "LR"},
                    FaultCase{"encoder-dead=2", "i2c", "ABORTED", panel, "hH"},
                    FaultCase{"key-dead=5", "plain", "ABORTED", panel, "5"},
                    FaultCase{"key-dead=E", "engine", "UNDECIDED", panel, "E"},
                    FaultCase{"key-held=5", "plain", "ABORTED", panel, "OK"},
                    FaultCase{"key-held=7", "plain", "ABORTED", panel, "7"},
                    FaultCase{"key-held=M", "i2c", "ABORTED", panel, "M"},
                    FaultCase{"key-held=E", "plain", "UNDECIDED", panel, "OK"},
                    FaultCase{"key-word-invalid=3", "plain", "ABORTED", panel, "OK"},
                    FaultCase{"no-privilege", "plain", "UNDECIDED", "", "",
                              "Frontpanel init error -49999"},
                    FaultCase{"panel-dead", "plain", "UNDECIDED", "", "", no_panel},
                    FaultCase{"panel-dead@5", "plain", "UNDECIDED", panel, "[0-9*#LRKEACDMhH]+"},
                    FaultCase{"panel-dead@5", "i2c", "UNDECIDED", panel, "[0-9*#LRKEACDMhH]+"},
                    FaultCase{"panel-type=1", "plain", "UNDECIDED", "", "", no_panel},
                    FaultCase{"panel-type=0x3C", "plain", "ABORTED", "", ""},
                    FaultCase{"panel-type=0x3C", "i2c", "ABORTED", panel, "OK"},
                    FaultCase{"sda-stuck=0", "i2c", "UNDECIDED", "", "", no_panel},
                    FaultCase{"sda-stuck=1", "engine", "UNDECIDED", "", "", no_panel},
                    FaultCase{"speaker-absent", "plain", "UNDECIDED", "", "", "FP init error 0"}),
    name_of);

} // namespace
