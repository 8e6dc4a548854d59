// Every fault that the virtual K/4 lists, and what a run of the self-test comes to with it. On
// the board plain, which can never pass, a run that nothing is wrong with ends by the operator's
// abort.
#include "golden.h"
#include "virtual_run.h"

#include <algorithm>
#include <cctype>
#include <gmock/gmock.h>
#include <iterator>
#include <map>
#include <sstream>

namespace {

using namespace k4test;

struct FaultCase {
    const char* fault; // as after --fault; several with blanks between
    const char* board;
    const char* verdict;
    const char* label;        // of the row that tells; "": no row could ever be read
    const char* status;       // what the row reads at last, a regular expression
    const char* console = ""; // a text that the console must hold
    const char* event = "";   // where the row does not tell: source and event of the hardware
    const char* ever = "";    // what the row read on the way
    const char* never = "";   // an event that must not come
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

constexpr const char* parallel = row_labels[0];
constexpr const char* links = row_labels[1];
constexpr const char* panel = row_labels[2];
constexpr const char* usb = row_labels[3];
constexpr const char* audio = row_labels[4];
constexpr const char* aes = row_labels[5];

std::vector<std::string> words(const std::string& text) {
    std::istringstream in(text);
    return {std::istream_iterator<std::string>(in), {}};
}

// The analog test takes most of a run's time: only where it has a say.
bool needs_audio(const FaultCase& one) {
    return one.label == std::string_view(audio) || one.label == std::string_view(aes) ||
           one.verdict == std::string_view("PASSED");
}

RunResult operated_with(const FaultCase& one) {
    RunPlan plan;
    plan.board = one.board;
    plan.faults = words(one.fault);
    if (!needs_audio(one)) plan.keywords.emplace_back("noanalog");
    plan.automatic_operator = true;
    plan.limit_s = limit_s;
    return run_on_virtual_k4(plan);
}

std::string last_status(const RunResult& run, std::string_view label) {
    for (const auto& unit : run.report.at("units"))
        if (unit.at("name") == label) return unit.at("status");
    return "no such row";
}

// Which events came with which members, and how often; and when the last one came.
std::string outline(const RunResult& run) {
    std::map<std::string, int> counts;
    for (const nlohmann::json& event : run.events) {
        std::string kind = event.at("source").get<std::string>() + " ";
        kind += event.at("event");
        for (const auto& [name, value] : event.items())
            if (name != "t" && name != "source" && name != "event") kind += ", " + name;
        ++counts[kind];
    }
    std::string text;
    for (const auto& [kind, count] : counts)
        text += std::to_string(count) + " " + kind + "\n";
    return text + "the last at " + run.events.back().at("t").dump() + " us\n";
}

class Fault : public testing::TestWithParam<FaultCase> {};

TEST_P(Fault, CausesItsVerdict) {
    const FaultCase& one = GetParam();
    const RunResult run = operated_with(one);
    EXPECT_EQ(run.verdict(), one.verdict);
    EXPECT_THAT(run.console, testing::HasSubstr(one.console));
    EXPECT_EQ(run.count_events("fault"), std::ssize(words(one.fault)));
    const auto count = [&](std::string_view event) {
        const std::size_t slash = event.find('/');
        return slash == event.npos
                   ? 0
                   : run.count_events(event.substr(0, slash), event.substr(slash + 1));
    };
    EXPECT_EQ(count(one.event) > 0, *one.event != '\0') << one.event;
    EXPECT_EQ(count(one.never), 0) << one.never;
    expect_as_written_down("faults/" + name_of({one, 0}), outline(run));
    if (*one.label == '\0') {
        EXPECT_TRUE(run.report.at("units").empty());
        return;
    }
    EXPECT_THAT(last_status(run, one.label), testing::MatchesRegex(one.status));
    const auto row =
        std::find(std::begin(row_labels), std::end(row_labels), one.label) - row_labels;
    EXPECT_TRUE(*one.ever == '\0' ||
                row_ever_shows(run, static_cast<int>(row), one.label, one.ever));
}

constexpr const char* mismatch = "parallel/mismatch";

constexpr FaultCase parallel_faults[] = {
    {"parallel-flaky=3:4", "plain", "ABORTED", parallel, "Bit status: [+]{3}[+01LH][+]{4}", "",
     mismatch},
    {"parallel-high=0 parallel-low=1 parallel-open=2 parallel-inverted=3 parallel-tied-high=4 "
     "parallel-tied-low=6",
     "plain", "ABORTED", parallel, "Bit status: 1000HHLL", "", mismatch},
};
INSTANTIATE_TEST_SUITE_P(Parallel, Fault, testing::ValuesIn(parallel_faults), name_of);

constexpr FaultCase link_faults[] = {
    {"link-absent=eth0", "plain", "ABORTED", links, "LAN-[?]{2}   WAN-ok", "", "link/absent"},
    {"link-down=eth0", "plain", "ABORTED", links, "LAN-[?]{2}   WAN-ok", "", "link/down"},
    {"link-down=usb0", "aes", "ABORTED", links, "LAN-ok   WAN-[?]{2}", "", "link/down"},
    {"link-dropped=usb0@5", "plain", "ABORTED", links, "OK", "", "link/down"},
    {"link-flapping=eth0", "plain", "ABORTED", links, "LAN-(ok|[?]{2})   WAN-ok", "", "link/up"},
    {"link-flapping=usb0", "plain", "ABORTED", links, "LAN-ok   WAN-(ok|[?]{2})", "", "link/down",
     "LAN-ok   WAN-ok"},
    {"link-refused=usb0", "plain", "ABORTED", links, "LAN-ok   WAN-[?]{2}", "",
     "link/request-refused"},
};
INSTANTIATE_TEST_SUITE_P(Links, Fault, testing::ValuesIn(link_faults), name_of);

constexpr FaultCase serial_faults[] = {
    {"serial-absent=1", "plain", "ABORTED", usb, "Missing USBs: 1", "", "serial/unplugged"},
    {"serial-absent=2@3", "plain", "ABORTED", usb, "Missing USBs: 1", "", "serial/unplugged"},
    {"serial-byte-flipped=1000", "plain", "ABORTED", usb, "In progress: 7", "",
     "serial/byte-flipped"},
    {"serial-absent=1 serial-absent=2", "plain", "ABORTED", usb, "Missing USBs: 2"},
    {"serial-byte-lost=5000", "plain", "ABORTED", usb, "In progress: (2[4-9]|[34][0-9])", "",
     "serial/byte-lost"},
    {"serial-byte-lost=1", "plain", "ABORTED", usb, "In progress: 0", "", "serial/byte-lost"},
    {"serial-cable=looped", "aes", "PASSED", usb, "OK"},
    {"serial-cable=none", "plain", "ABORTED", usb, "In progress: 0"},
    {"serial-first-number=9", "aes", "PASSED", usb, "OK", "USB-1: Opened /dev/ttyUSB9"},
    {"serial-late=7", "aes", "PASSED", usb, "OK", "USB-0: Opened /dev/ttyUSB0", "",
     "Missing USBs: 2"},
    {"serial-output-refused=2", "plain", "ABORTED", usb, "Not running", "Cannot write to RS232",
     "serial/output-refused"},
    {"serial-second-number=0", "aes", "PASSED", usb, "OK", "", "serial/numbered"},
    {"serial-settings-refused=1", "plain", "ABORTED", usb, "Not running",
     "Cannot set raw mode, error -1", "serial/settings-refused"},
    {"serial-speed-wrong=1", "plain", "ABORTED", usb, "In progress: 0", "",
     "serial/speed-mismatch"},
};
INSTANTIATE_TEST_SUITE_P(Serial, Fault, testing::ValuesIn(serial_faults), name_of);

constexpr const char* no_panel = "Frontpanel init error -49997";
constexpr const char* any_keys = "[0-9*#LRKEACDMhH]+";

constexpr FaultCase panel_faults[] = {
    {"cpld-id=9", "plain", "UNDECIDED", "", "", no_panel},
    {"cpld-id=9@0.0005", "plain", "ABORTED", audio, "Motherboard CPLD not detected"},
    {"cpld-id=1", "plain", "ABORTED", panel, "OK"},
    {"cpld-version=77", "plain", "UNDECIDED", "", "", no_panel},
    {"encoder-dead=1", "plain", "ABORTED", panel, "LR"},
    {"encoder-dead=2", "plain", "ABORTED", panel, "hH"},
    {"key-dead=5", "plain", "ABORTED", panel, "5"},
    {"key-dead=E", "plain", "UNDECIDED", panel, "E"},
    {"key-held=5", "plain", "ABORTED", panel, "OK"},
    {"key-held=7", "plain", "ABORTED", panel, "7"},
    {"key-held=M", "plain", "ABORTED", panel, "M"},
    {"key-held=E", "plain", "UNDECIDED", panel, "OK"},
    {"key-word-invalid=3", "plain", "ABORTED", panel, "OK"},
    {"key-word-invalid=20000", "plain", "UNDECIDED", "", ""},
    {"no-privilege", "plain", "UNDECIDED", "", "", "FP init error -49999"},
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
    {"analog-cable=crossed", "aes", "PASSED", audio, "OK"},
    {"analog-cable=phones", "plain", "ABORTED", audio, no_loop},
    {"analog-crackle@9", "plain", "ABORTED", audio, "OK", "RMS=  -40."},
    {"analog-dc=-30", "plain", "ABORTED", audio, too_much_dc},
    {"analog-droop=5000", "plain", "ABORTED", audio, any_gain, "  BAD  BAD"},
    {"analog-gain=-6", "aes", "ABORTED", audio, "Loop gain -6[.]0 -6[.]0 [(]2[)]"},
    {"analog-gain=4", "plain", "ABORTED", audio, "Loop gain 4[.]0 4[.]0 [(]2[)]", "  BAD  BAD"},
    {"analog-gain-left=-6", "aes", "ABORTED", audio, "Loop gain -6[.]0 -?0[.]0 [(]2[)]",
     "  BAD   OK"},
    {"analog-gain-right=2.4", "plain", "ABORTED", audio, "Loop gain -?0[.]0 2[.]4 [(]2[)]"},
    {"analog-hum=-40", "plain", "ABORTED", audio, too_loud},
    {"analog-input-dead=1", "plain", "ABORTED", audio, no_loop},
    {"analog-input-dead=2@50", "plain", "ABORTED", audio, deaf_right, "   OK  BAD"},
    {"analog-noise=-60", "plain", "ABORTED", audio, too_loud},
    {"capture-overrun=3@35", "plain", "ABORTED", audio, "OK", restarted, "sound/overrun"},
    {"playback-underrun=2", "plain", "ABORTED", audio, "OK", "Playout restart!", "sound/underrun"},
    {"playback-underrun=3@35", "plain", "ABORTED", audio, "OK",
     "!!!!! UNDERRUN - Playout restart !!!!!\r\n", "sound/underrun"},
    {"card-absent", "plain", "ABORTED", audio, mixer_error},
    {"card-busy", "plain", "ABORTED", audio, mixer_error},
    {"card-element-missing=line-out", "plain", "ABORTED", audio, mixer_error},
    {"card-element-missing=line-in-level", "aes", "ABORTED", audio, mixer_error},
    {"card-element-missing=micboost", "plain", "ABORTED", audio, mixer_error},
    // What is gone can't be switched any more, neither itself nor another in its place.
    {.fault = "card-element-missing=micboost@2.7",
     .board = "plain",
     .verdict = "ABORTED",
     .label = audio,
     .status = "OK",
     .never = "sound/phantom"},
    {"card-element-missing=phantom", "aes", "PASSED", audio, "OK"},
    {"card-mixer-refuses", "plain", "ABORTED", audio, no_loop},
    {"card-parameters-refused", "plain", "ABORTED", audio, "ALSA PCM open error"},
};
INSTANTIATE_TEST_SUITE_P(Audio, Fault, testing::ValuesIn(audio_faults), name_of);

constexpr FaultCase digital_faults[] = {
    {"aes-cable=early", "aes", "ABORTED", aes, "Wait for cable unplugged"},
    {"aes-cable=never", "aes", "ABORTED", aes, "Wait for 32000 Hz 'LOCK'"},
    {"aes-lock-lost@10", "aes", "PASSED", aes, "OK", "Lost lock"},
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

// What a run made of a fault, of a unit, on a board that passes without.
std::string finding_of(const RunResult& run, const std::string& unit) {
    if (run.verdict() == "PASSED")
        return std::ranges::all_of(run.report.at("units"),
                                   [](const auto& row) { return row.at("status") == "OK"; })
                   ? "passes"
                   : "passes by other rows";
    if (run.verdict() == "UNDECIDED") return "blocked";
    return last_status(run, unit) == "OK" ? "misleading" : "detected";
}

TEST(Sites, AreFoundAsTheirModelsSay) {
    const std::pair<const char*, const char*> cases[] = {
        {"parallel.wires1-6=tied-low", "detected"},
        {"parallel.in.bit4=flaky-100", "passes"},
        {"link.eth0.plug=loose", "detected"},
        {"link.usb0.carrier=late", "passes"},
        {"keys.star=stuck-0", "detected"},
        {"keys.encoder2.phaseA=stuck-1", "passes"},
        {"keys.5=late", "passes"},
        {"oled.segment72=dark", "passes"},
        {"oled.row62=lit", "passes"},
        {"panel.link.busy=stuck-1", "blocked"},
        {"cpld.id.bit3=stuck-1", "blocked"},
        {"serial1.rx.bit5=stuck-0", "detected"},
        {"serial2.speed=+3%", "passes"},
        {"codec.in2.gain=-3", "detected"},
        {"codec.out1.polarity=inverted", "passes"},
        {"cpld.microphone.bit5=stuck-1", "detected"},
        {"aes.receiver.bit2=inverted", "detected"},
        {"aes.audio1=silent", "passes"},
        {"speaker.coil=open", "passes"}};
    for (const auto& [fault, finding] : cases) {
        const auto listed = nlohmann::json::parse(
            run_command({K4_SIM, "faults", "--all", "--board", "aes", "--json", fault}).out);
        const std::string expected = listed.at(0).at("expected");
        EXPECT_EQ(expected == "escaped" || expected == "operator" ? "passes" : expected, finding)
            << fault;
        RunPlan plan;
        plan.automatic_operator = true;
        plan.limit_s = limit_s;
        plan.faults = {fault};
        const RunResult run = run_on_virtual_k4(plan);
        EXPECT_EQ(finding_of(run, listed.at(0).at("unit")), finding) << fault << run.error;
        EXPECT_EQ(run.count_events("fault"), 1);
    }
}

// All of a board's faults at once, each over again before the program does anything.
TEST(ClearedFaults, LeaveNothingBehind) {
    const auto faults = nlohmann::json::parse(run_command({K4_SIM, "faults", "--json"}).out);
    // What is heard is broken and mended on one board; the other one's run is the shorter without.
    const std::pair<std::string, std::vector<std::string>> runs[] = {
        {"aes", {"run"}}, {"engine", {"run", "noanalog"}}};
    for (const auto& [board, keywords] : runs) {
        RunPlan plan;
        plan.board = board;
        plan.keywords = keywords;
        plan.automatic_operator = true;
        const RunResult healthy = run_on_virtual_k4(plan);
        int count = 0;
        for (const auto& fault : faults) {
            if (!fault.at("clears") || fault.at("boards").dump().find(board) == std::string::npos)
                continue;
            for (const std::string verb : {"fault ", "clear "})
                plan.scenario += "[[step]]\nat = 0\ndo = '" + verb +
                                 fault.at("example").get<std::string>() + "'\n";
            ++count;
        }
        const RunResult mended = run_on_virtual_k4(plan);
        EXPECT_GT(count, 30);
        EXPECT_EQ(mended.count_events("fault"), 2 * count) << mended.error;
        EXPECT_EQ(mended.console, healthy.console);
        EXPECT_EQ(mended.pictures, healthy.pictures);
        EXPECT_EQ(mended.events.back(), healthy.events.back());
    }
}

} // namespace
