// Every fault of the parallel port, the network links and the serial adapters. On the board
// plain, which can never pass, a run that nothing is wrong with ends by the operator's abort.
#include "fault_case.h"
#include "virtual_run.h"

namespace {

using namespace k4test;

class BusFault : public testing::TestWithParam<FaultCase> {};

TEST_P(BusFault, CausesItsVerdict) { expect_verdict(GetParam()); }

constexpr const char* parallel = "ParallelPrt";
constexpr const char* ethernet = "Ethernet";
constexpr const char* usb = "USB Ports";

INSTANTIATE_TEST_SUITE_P(
    Parallel, BusFault,
    testing::Values(FaultCase{"parallel-high=0", "plain", "ABORTED", parallel,
                              "Bit status: 1[+]{7}", "", "parallel/mismatch"},
                    FaultCase{"parallel-low=7", "i2c", "ABORTED", parallel, "Bit status: [+]{7}0",
                              "", "parallel/mismatch"},
                    FaultCase{"parallel-open=4", "plain", "ABORTED", parallel,
                              "Bit status: [+]{4}0[+]{3}", "", "parallel/mismatch"},
                    FaultCase{"parallel-inverted=2", "aes", "ABORTED", parallel,
                              "Bit status: [+]{2}0[+]{5}", "", "parallel/mismatch"},
                    FaultCase{"parallel-tied-high=5", "plain", "ABORTED", parallel,
                              "Bit status: [+]{5}HH[+]", "", "parallel/mismatch"},
                    FaultCase{"parallel-tied-low=0", "aes", "ABORTED", parallel,
                              "Bit status: LL[+]{6}", "", "parallel/mismatch"},
                    FaultCase{"parallel-flaky=3:4", "plain", "ABORTED", parallel,
                              "Bit status: [+]{3}[+01LH][+]{4}", "", "parallel/mismatch"}),
    name_of);

INSTANTIATE_TEST_SUITE_P(
    Links, BusFault,
    testing::Values(FaultCase{"link-absent=eth0", "plain", "ABORTED", ethernet,
                              "LAN-[?]{2}   WAN-ok", "", "link/absent"},
                    FaultCase{"link-down=eth0", "plain", "ABORTED", ethernet, "LAN-[?]{2}   WAN-ok",
                              "", "link/down"},
                    FaultCase{"link-down=usb0", "aes", "ABORTED", ethernet, "LAN-ok   WAN-[?]{2}",
                              "", "link/down"},
                    FaultCase{"link-dropped=usb0@5", "plain", "ABORTED", ethernet, "OK", "",
                              "link/down"},
                    FaultCase{"link-flapping=eth0", "plain", "ABORTED", ethernet,
                              "LAN-(ok|[?]{2})   WAN-ok", "", "link/up"},
                    FaultCase{"link-refused=usb0", "plain", "ABORTED", ethernet,
                              "LAN-ok   WAN-[?]{2}", "", "link/request-refused"}),
    name_of);

INSTANTIATE_TEST_SUITE_P(
    Serial, BusFault,
    testing::Values(FaultCase{"serial-absent=1", "plain", "ABORTED", usb, "Missing USBs: 1", "",
                              "serial/unplugged"},
                    FaultCase{"serial-absent=2@3", "plain", "ABORTED", usb, "Missing USBs: 1", "",
                              "serial/unplugged"},
                    FaultCase{"serial-byte-flipped=1000", "plain", "ABORTED", usb,
                              "In progress: [0-9]+", "", "serial/byte-flipped"},
                    FaultCase{"serial-byte-lost=1", "plain", "ABORTED", usb, "In progress: 0", "",
                              "serial/byte-lost"},
                    FaultCase{"serial-cable=looped", "aes", "PASSED", usb, "OK"},
                    FaultCase{"serial-cable=none", "plain", "ABORTED", usb, "In progress: 0"},
                    FaultCase{"serial-first-number=9", "aes", "PASSED", usb, "OK",
                              "USB-1: Opened /dev/ttyUSB9", "serial/numbered"},
                    FaultCase{"serial-late=7", "aes", "PASSED", usb, "OK", "", "serial/plugged"},
                    FaultCase{"serial-output-refused=2", "plain", "ABORTED", usb, "Not running",
                              "Cannot write to RS232", "serial/output-refused"},
                    FaultCase{"serial-second-number=0", "aes", "PASSED", usb, "OK", "",
                              "serial/numbered"},
                    FaultCase{"serial-settings-refused=1", "plain", "ABORTED", usb, "Not running",
                              "Cannot set raw mode, error -1", "serial/settings-refused"},
                    FaultCase{"serial-speed-wrong=1", "plain", "ABORTED", usb,
                              "In progress: [0-9]+", "", "serial/speed-mismatch"}),
    name_of);

constexpr int usb_row = 3;

RunResult run_with(const std::vector<std::string>& faults) {
    RunPlan plan;
    plan.board = "plain";
    plan.automatic_operator = true;
    plan.faults = faults;
    return run_on_virtual_k4(plan);
}

TEST(BusFaults, BothAdaptersAreMissed) {
    const RunResult run = run_with({"serial-absent=1", "serial-absent=2"});
    EXPECT_TRUE(row_shows(run.last_lit(), usb_row, usb, "Missing USBs: 2"));
    EXPECT_EQ(run.count_events("serial", "unplugged"), 2);
}

TEST(BusFaults, LateAdaptersAreMissedUntilTheyCome) {
    const RunResult run = run_with({"serial-late=7"});
    EXPECT_GE(first_picture_with(run, usb_row, usb, "Missing USBs: 2"), 0);
    EXPECT_TRUE(run.console_has("USB-0: Opened /dev/ttyUSB0")) << run.console;
    EXPECT_TRUE(row_shows(run.last_lit(), usb_row, usb, "OK"));
}

} // namespace
