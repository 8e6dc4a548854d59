// Every fault that the virtual K/4 lists, and what a run of the self-test comes to with it. On
// the board plain, which can never pass, a run that nothing is wrong with ends by the operator's
// abort.
#include "virtual_run.h"

#include <algorithm>
#include <cctype>
#include <gmock/gmock.h>

namespace {

using namespace k4test;

struct FaultCase {
    const char* fault; // as after --fault
    const char* board;
    const char* verdict;
    const char* label;        // of the row that tells; "": no row could ever be read
    const char* status;       // what the row reads at last, a regular expression
    const char* console = ""; // a text that the console must hold
    const char* event = "";   // where the row does not tell: source and event of the hardware
};

void PrintTo(const FaultCase& one, std::ostream* out) { *out << one.fault << " on " << one.board; }

// "analog_gain__6_on_plain"
std::string name_of(const testing::TestParamInfo<FaultCase>& info) {
    std::string name = std::string(info.param.fault) + "_on_" + info.param.board;
    std::replace_if(
        name.begin(), name.end(), [](unsigned char c) { return std::isalnum(c) == 0; }, '_');
    return name;
}

// Longer than the operator's patience with a picture that does not change.
constexpr int limit_s = 260;

RunResult operated_with(const std::string& fault, const std::string& board) {
    RunPlan plan;
    plan.board = board;
    plan.faults = {fault};
    plan.automatic_operator = true;
    plan.limit_s = limit_s;
    return run_on_virtual_k4(plan);
}

std::string last_status(const RunResult& run, std::string_view label) {
    for (const auto& unit : run.report.at("units"))
        if (unit.at("name") == label) return unit.at("status");
    return "no such row";
}

class Fault : public testing::TestWithParam<FaultCase> {};

TEST_P(Fault, CausesItsVerdict) {
    const std::string fault = GetParam().fault;
    const std::string_view event = GetParam().event;
    const RunResult run = operated_with(fault, GetParam().board);
    EXPECT_EQ(run.verdict(), GetParam().verdict);
    EXPECT_THAT(run.console, testing::HasSubstr(GetParam().console));
    EXPECT_EQ(run.count_events("fault", fault.substr(0, fault.find_first_of("=@"))), 1);
    if (const std::size_t slash = event.find('/'); slash != event.npos) {
        EXPECT_GT(run.count_events(event.substr(0, slash), event.substr(slash + 1)), 0) << event;
    }
    if (*GetParam().label == '\0') {
        EXPECT_TRUE(run.report.at("units").empty());
    } else {
        EXPECT_THAT(last_status(run, GetParam().label), testing::MatchesRegex(GetParam().status));
    }
}

constexpr const char* parallel = "ParallelPrt";
constexpr const char* mismatch = "parallel/mismatch";

constexpr FaultCase parallel_faults[] = {
    {"parallel-high=0", "plain", "ABORTED", parallel, "Bit status: 1[+]{7}", "", mismatch},
    {"parallel-low=7", "i2c", "ABORTED", parallel, "Bit status: [+]{7}0", "", mismatch},
    {"parallel-open=4", "plain", "ABORTED", parallel, "Bit status: [+]{4}0[+]{3}", "", mismatch},
    {"parallel-inverted=2", "aes", "ABORTED", parallel, "Bit status: [+]{2}0[+]{5}", "", mismatch},
    {"parallel-tied-high=5", "plain", "ABORTED", parallel, "Bit status: [+]{5}HH[+]", "", mismatch},
    {"parallel-tied-low=0", "aes", "ABORTED", parallel, "Bit status: LL[+]{6}", "", mismatch},
    {"parallel-flaky=3:4", "plain", "ABORTED", parallel, "Bit status: [+]{3}[+01LH][+]{4}", "",
     mismatch},
};
INSTANTIATE_TEST_SUITE_P(Parallel, Fault, testing::ValuesIn(parallel_faults), name_of);

constexpr const char* links = "Ethernet";

constexpr FaultCase link_faults[] = {
    {"link-absent=eth0", "plain", "ABORTED", links, "LAN-[?]{2}   WAN-ok", "", "link/absent"},
    {"link-down=eth0", "plain", "ABORTED", links, "LAN-[?]{2}   WAN-ok", "", "link/down"},
    {"link-down=usb0", "aes", "ABORTED", links, "LAN-ok   WAN-[?]{2}", "", "link/down"},
    {"link-dropped=usb0@5", "plain", "ABORTED", links, "OK", "", "link/down"},
    {"link-flapping=eth0", "plain", "ABORTED", links, "LAN-(ok|[?]{2})   WAN-ok", "", "link/up"},
    {"link-refused=usb0", "plain", "ABORTED", links, "LAN-ok   WAN-[?]{2}", "",
     "link/request-refused"},
};
INSTANTIATE_TEST_SUITE_P(Links, Fault, testing::ValuesIn(link_faults), name_of);

constexpr const char* usb = "USB Ports";

constexpr FaultCase serial_faults[] = {
    {"serial-absent=1", "plain", "ABORTED", usb, "Missing USBs: 1", "", "serial/unplugged"},
    {"serial-absent=2@3", "plain", "ABORTED", usb, "Missing USBs: 1", "", "serial/unplugged"},
    {"serial-byte-flipped=1000", "plain", "ABORTED", usb, "In progress: 7", "",
     "serial/byte-flipped"},
    {"serial-byte-lost=1", "plain", "ABORTED", usb, "In progress: 0", "", "serial/byte-lost"},
    {"serial-cable=looped", "aes", "PASSED", usb, "OK"},
    {"serial-cable=none", "plain", "ABORTED", usb, "In progress: 0"},
    {"serial-first-number=9", "aes", "PASSED", usb, "OK", "USB-1: Opened /dev/ttyUSB9"},
    {"serial-output-refused=2", "plain", "ABORTED", usb, "Not running", "Cannot write to RS232",
     "serial/output-refused"},
    {"serial-second-number=0", "aes", "PASSED", usb, "OK", "", "serial/numbered"},
    {"serial-settings-refused=1", "plain", "ABORTED", usb, "Not running",
     "Cannot set raw mode, error -1", "serial/settings-refused"},
    {"serial-speed-wrong=1", "plain", "ABORTED", usb, "In progress: 0", "",
     "serial/speed-mismatch"},
};
INSTANTIATE_TEST_SUITE_P(Serial, Fault, testing::ValuesIn(serial_faults), name_of);

TEST(Faults, LateAdaptersAreMissedUntilTheyCome) {
    constexpr int usb_row = 3;
    const RunResult run = operated_with("serial-late=7", "aes");
    EXPECT_TRUE(row_ever_shows(run, usb_row, usb, "Missing USBs: 2"));
    EXPECT_TRUE(run.console_has("USB-0: Opened /dev/ttyUSB0")) << run.console;
    EXPECT_EQ(run.verdict(), "PASSED");
}

constexpr const char* panel = "Frontpanel";
constexpr const char* no_panel = "Frontpanel init error -49997";
constexpr const char* any_keys = "[0-9*#LRKEACDMhH]+";

constexpr FaultCase panel_faults[] = {
    {"cpld-id=9", "plain", "UNDECIDED", "", "", no_panel},
    {"cpld-id=1", "plain", "ABORTED", panel, "OK"},
    {"cpld-version=77", "plain", "UNDECIDED", "", "", no_panel},
    {"cpld-version=6", "plain", "UNDECIDED", "", "", no_panel},
    {"encoder-dead=1", "plain", "ABORTED", panel, "LR"},
    {"encoder-dead=2", "i2c", "ABORTED", panel, "hH"},
    {"key-dead=5", "plain", "ABORTED", panel, "5"},
    {"key-dead=E", "engine", "UNDECIDED", panel, "E"},
    {"key-held=5", "plain", "ABORTED", panel, "OK"},
    {"key-held=7", "plain", "ABORTED", panel, "7"},
    {"key-held=M", "i2c", "ABORTED", panel, "M"},
    {"key-held=E", "plain", "UNDECIDED", panel, "OK"},
    {"key-word-invalid=3", "plain", "ABORTED", panel, "OK"},
    {"no-privilege", "plain", "UNDECIDED", "", "", "Frontpanel init error -49999"},
    {"panel-dead", "plain", "UNDECIDED", "", "", no_panel},
    {"panel-dead@5", "plain", "UNDECIDED", panel, any_keys},
    {"panel-dead@5", "i2c", "UNDECIDED", panel, any_keys},
    {"panel-type=1", "plain", "UNDECIDED", "", "", no_panel},
    {"panel-type=0x3C", "plain", "ABORTED", "", ""},
    {"panel-type=0x3C", "i2c", "ABORTED", panel, "OK"},
    {"sda-stuck=0", "i2c", "UNDECIDED", "", "", no_panel},
    {"sda-stuck=1", "engine", "UNDECIDED", "", "", no_panel},
    {"speaker-absent", "plain", "UNDECIDED", "", "", "FP init error 0"},
};
INSTANTIATE_TEST_SUITE_P(Panel, Fault, testing::ValuesIn(panel_faults), name_of);

constexpr const char* audio = "AnalogAudio";
// Margins of RMS and DC of both inputs, in dB: above 0 is too loud.
constexpr const char* too_loud = "Silence/DC ([0-9.]+ ){2}-[0-9.]+ -[0-9.]+";
constexpr const char* too_much_dc = "Silence/DC -[0-9.]+ -[0-9.]+ [0-9.]+ [0-9.]+";
constexpr const char* no_loop = "Voltages, loopback";
constexpr const char* deaf_right = "Loop gain -?0[.]0 -[1-9][0-9.]+ [(]2[)]";
constexpr const char* any_gain = "Loop gain -?[0-9.]+ -?[0-9.]+ [(]2[)]";
constexpr const char* restarted = "!!!!! UNDERRUN - Recorder restart !!!!!";
constexpr const char* mixer_error = "ALSA mixer error";

constexpr FaultCase audio_faults[] = {
    {"analog-cable=early", "plain", "ABORTED", audio, too_loud},
    {"analog-cable=never", "plain", "ABORTED", audio, no_loop},
    {"analog-cable=left", "aes", "ABORTED", audio, no_loop},
    {"analog-cable=right", "plain", "ABORTED", audio, no_loop},
    {"analog-cable=crossed", "aes", "PASSED", audio, "OK"},
    {"analog-cable=phones", "plain", "ABORTED", audio, no_loop},
    {"analog-crackle@9", "plain", "ABORTED", audio, "OK", "RMS=  -40."},
    {"analog-dc=-30", "plain", "ABORTED", audio, too_much_dc},
    {"analog-dc=-60", "plain", "ABORTED", audio, "OK"},
    {"analog-droop=5000", "plain", "ABORTED", audio, any_gain, "  BAD  BAD"},
    {"analog-gain=-6", "aes", "ABORTED", audio, "Loop gain -6[.]0 -6[.]0 [(]2[)]"},
    {"analog-gain=4", "plain", "ABORTED", audio, "Loop gain 4[.]0 4[.]0 [(]2[)]", "  BAD  BAD"},
    {"analog-gain=1", "plain", "ABORTED", audio, "OK"},
    {"analog-gain=-20", "plain", "ABORTED", audio, no_loop},
    {"analog-hum=-40", "plain", "ABORTED", audio, too_loud},
    {"analog-hum=-90", "plain", "ABORTED", audio, "OK"},
    {"analog-input-dead=1", "plain", "ABORTED", audio, no_loop},
    {"analog-input-dead=2@50", "plain", "ABORTED", audio, deaf_right, "   OK  BAD"},
    {"analog-noise=-60", "plain", "ABORTED", audio, too_loud},
    {"capture-overrun=3", "plain", "ABORTED", audio, no_loop, "", "sound/overrun"},
    {"capture-overrun=3@35", "plain", "ABORTED", audio, "OK", restarted, "sound/overrun"},
    {"playback-underrun=2", "plain", "ABORTED", audio, "OK", "Playout restart!", "sound/underrun"},
    {"card-absent", "plain", "ABORTED", audio, mixer_error},
    {"card-busy", "plain", "ABORTED", audio, mixer_error},
    {"card-element-missing=line-out", "plain", "ABORTED", audio, mixer_error},
    {"card-element-missing=line-in-level", "aes", "ABORTED", audio, mixer_error},
    {"card-element-missing=micboost", "plain", "ABORTED", audio, mixer_error},
    {"card-element-missing=phantom", "aes", "PASSED", audio, "OK"},
    {"card-mixer-refuses", "plain", "ABORTED", audio, no_loop},
    {"card-parameters-refused", "plain", "ABORTED", audio, "ALSA PCM open error"},
};
INSTANTIATE_TEST_SUITE_P(Audio, Fault, testing::ValuesIn(audio_faults), name_of);

constexpr const char* aes = "AES/EBU";

constexpr FaultCase digital_faults[] = {
    {"aes-cable=early", "aes", "ABORTED", aes, "Wait for cable unplugged"},
    {"aes-cable=never", "aes", "ABORTED", aes, "Wait for 32000 Hz 'LOCK'"},
    {"aes-lock-lost@10", "aes", "PASSED", aes, "OK", "Lost lock"},
    {"aes-measured-rate=0", "aes", "ABORTED", aes, "Wait for 32000 Hz 'LOCK'"},
    {"aes-measured-rate=32000", "aes", "ABORTED", aes, "Wait for 44100 Hz 'LOCK'"},
    {"aes-rate-dead=48000", "aes", "ABORTED", aes, "Wait for 48000 Hz 'LOCK'"},
    {"aes-receiver-absent", "aes", "ABORTED", aes, "Cannot open 'hw:0,1' capture"},
    {"aes-status-rate=32000", "aes", "ABORTED", aes, "Wait for 44100 Hz 'LOCK'"},
    {"aes-transmitter-absent", "aes", "ABORTED", aes, "Cannot open 'hw:0,1' playback"},
    {"aes-transmitter-refuses", "aes", "ABORTED", aes, "SR config error -1"},
    {"card-absent", "aes", "ABORTED", aes, "Cannot open 'hw:0,1' capture"},
    {"card-absent@4", "aes", "ABORTED", aes, "Cannot get AES lock status"},
    {"card-absent@15", "aes", "ABORTED", aes, "Cannot get AES stream info"},
};
INSTANTIATE_TEST_SUITE_P(Digital, Fault, testing::ValuesIn(digital_faults), name_of);

} // namespace
