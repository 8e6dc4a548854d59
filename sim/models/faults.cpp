#include "sim/models/faults.h"

#include "sim/models/panel/keys.h"

#include <algorithm>
#include <charconv>
#include <optional>

namespace k4sim {

namespace {

using Value = Fault::Value;
using Site = Fault::Site;
using Needs = Fault::Needs;
using Sight = Fault::Sight;

constexpr Fault faults[] = {
    {"aes-cable", "early|never", Value::word, 0, 0, Site::device, Needs::aes, Sight::seen,
     "the digital loopback cable is in from then on (early), or is never plugged",
     "ABORTED: the AES row keeps \"Wait for cable unplugged\" (early from the start) or \"Wait for "
     "32000 Hz 'LOCK'\" (never)"},
    {"aes-lock-lost", "", Value::none, 0, 0, Site::device, Needs::aes, Sight::depends,
     "the receiver loses its lock for 0.3 s",
     "as without the fault, 5 s later: \"Lost lock\" on the console where it strikes while the "
     "lock "
     "is waited for; else not seen"},
    {"aes-measured-rate", "0|32000|44100|48000|88200|96000", Value::word, 0, 0, Site::device,
     Needs::aes, Sight::seen, "the receiver measures this rate (0: none) whatever comes",
     "ABORTED: the AES row keeps \"Wait for N Hz 'LOCK'\" with the first other rate N"},
    {"aes-rate-dead", "32000|44100|48000", Value::word, 0, 0, Site::device, Needs::aes, Sight::seen,
     "the receiver does not lock at this rate",
     "ABORTED: the AES row keeps \"Wait for N Hz 'LOCK'\" with this rate"},
    {"aes-receiver-absent", "", Value::none, 0, 0, Site::device, Needs::aes, Sight::seen,
     "the digital receiver is gone: its stream and its control elements",
     "ABORTED: the AES row shows \"Cannot open 'hw:0,1' capture\""},
    {"aes-status-rate", "0|32000|44100|48000", Value::word, 0, 0, Site::device, Needs::aes,
     Sight::seen, "the received channel status tells this rate (0: none) whatever was sent",
     "ABORTED: the AES row keeps \"Wait for N Hz 'LOCK'\" with the first other rate N"},
    {"aes-transmitter-absent", "", Value::none, 0, 0, Site::device, Needs::aes, Sight::seen,
     "the digital transmitter is gone: its stream and its control elements",
     "ABORTED: the AES row shows \"Cannot open 'hw:0,1' playback\""},
    {"aes-transmitter-refuses", "", Value::none, 0, 0, Site::device, Needs::aes, Sight::seen,
     "the transmitter's control elements can't be written",
     "ABORTED: the AES row shows \"SR config error -1\""},
    {"analog-cable", "early|never|left|right|crossed|phones", Value::word, 0, 0, Site::device,
     Needs::nothing, Sight::depends,
     "the analog loopback cable is in from then on (early), is never plugged, connects one side "
     "only (left, right), is crossed, or goes into the headphone socket (phones)",
     "ABORTED: the audio row keeps \"Silence/DC\" (early from the start) or \"Voltages, loopback\" "
     "(never, left, right, phones); PASSED with crossed: all channels play the same tone, so "
     "swapped sides can't be told"},
    {"analog-crackle", "", Value::none, 0, 0, Site::device, Needs::nothing, Sight::depends,
     "both inputs crackle for 10 ms",
     "as without the fault: in the silence phase the count of quiet cycles begins again, later it "
     "is not seen"},
    {"analog-dc", "DB", Value::number, -100, 0, Site::device, Needs::nothing, Sight::depends,
     "both inputs have a DC offset, in dB re full scale",
     "ABORTED from about -45 dB on: the audio row keeps \"Silence/DC\"; not seen below"},
    {"analog-droop", "HZ", Value::number, 20, 20'000, Site::device, Needs::nothing, Sight::depends,
     "the loop is 8 dB weaker around this frequency",
     "ABORTED: the audio row keeps \"Loop gain\" when one of the sweep's frequencies is near; not "
     "seen where none is"},
    {"analog-gain", "DB", Value::number, -100, 40, Site::device, Needs::nothing, Sight::depends,
     "the loop has this gain more than it should",
     "ABORTED: the audio row keeps \"Loop gain\" beyond 2 dB, \"Voltages, loopback\" below -11 dB "
     "(with a cable that comes late below -8 dB); not seen within 2 dB"},
    {"analog-hum", "DB", Value::number, -100, 0, Site::device, Needs::nothing, Sight::depends,
     "both inputs hum with 50 Hz of this peak, in dB re full scale",
     "ABORTED from about -75 dB on: the audio row keeps \"Silence/DC\"; not seen below"},
    {"analog-input-dead", "N", Value::number, 1, 2, Site::device, Needs::nothing, Sight::seen,
     "input N hears nothing of its socket",
     "ABORTED: the audio row keeps \"Voltages, loopback\", or \"Loop gain\" when it strikes during "
     "the sweep"},
    {"analog-noise", "DB", Value::number, -100, 0, Site::device, Needs::nothing, Sight::depends,
     "both inputs have noise of this RMS, in dB re full scale",
     "ABORTED from about -78 dB on: the audio row keeps \"Silence/DC\"; not seen below"},
    {"capture-overrun", "SECONDS", Value::number, 1, 3600, Site::device, Needs::nothing,
     Sight::depends, "the recording breaks off every so many seconds as if read too late",
     "ABORTED: before the sweep the recording stays off, and the audio row keeps \"Voltages, "
     "loopback\"; as without the fault where it strikes in the sweep only: \"UNDERRUN - Recorder "
     "restart\" on the console"},
    {"card-absent", "", Value::none, 0, 0, Site::device, Needs::nothing, Sight::seen,
     "the sound card does not answer; streams that are open stay so",
     "ABORTED: from the start the audio row shows \"ALSA mixer error\" and the AES row \"Cannot "
     "open "
     "'hw:0,1' capture\"; later the AES row shows \"Cannot get AES lock status\" or \"Cannot get "
     "AES "
     "stream info\""},
    {"card-busy", "", Value::none, 0, 0, Site::device, Needs::nothing, Sight::seen,
     "another program holds the analog streams",
     "ABORTED: the audio row shows \"ALSA mixer error\""},
    {"card-element-missing", "headphone|line-out|line-in|line-in-level|micboost|phantom",
     Value::word, 0, 0, Site::device, Needs::nothing, Sight::depends,
     "the mixer lacks this element",
     "ABORTED: the audio row shows \"ALSA mixer error\"; not seen with micboost and phantom on "
     "board aes, which has none"},
    {"card-mixer-refuses", "", Value::none, 0, 0, Site::device, Needs::nothing, Sight::seen,
     "the mixer's elements can't be written",
     "ABORTED: the audio row keeps \"Voltages, loopback\", for every level stays at 0"},
    {"card-parameters-refused", "", Value::none, 0, 0, Site::device, Needs::nothing, Sight::seen,
     "the analog streams take no parameters",
     "ABORTED: the audio row shows \"ALSA PCM open error\""},
    {"cpld-id", "N", Value::number, 0, 255, Site::device, Needs::cpld, Sight::depends,
     "the CPLD identifies itself as N",
     "UNDECIDED: with an unknown ID from the start \"Frontpanel init error -49997\", and nobody "
     "can abort; ABORTED in the millisecond after: the audio row shows \"Motherboard CPLD not "
     "detected\"; as without the fault later, and when N is the board's own ID"},
    {"cpld-version", "N", Value::number, 0, 255, Site::device, Needs::cpld, Sight::depends,
     "the CPLD tells version N",
     "UNDECIDED: a version without a driver gives \"Frontpanel init error -49997\", and nobody "
     "can abort; not seen when N is another version for the same driver"},
    {"encoder-dead", "N", Value::number, 1, 2, Site::device, Needs::cpld, Sight::seen,
     "the counter of encoder N stands still",
     "ABORTED: the panel row keeps LR (encoder 1) or hH (encoder 2)"},
    {"key-dead", "K", Value::key, 0, 0, Site::device, Needs::cpld, Sight::seen,
     "key K never reports that it is pressed",
     "ABORTED: the panel row keeps K; UNDECIDED with K = E, the key that aborts"},
    {"key-held", "K", Value::key, 0, 0, Site::device, Needs::cpld, Sight::depends,
     "key K is down from then on and never comes up",
     "as without the fault: the test wants to see a key go down, not come up; with K = 7 or M "
     "the press is taken for the start key and the row keeps K: ABORTED; with K = E nobody can "
     "abort"},
    {"key-word-invalid", "N", Value::number, 1, 1'000'000, Site::device, Needs::cpld, Sight::unseen,
     "the next N key status words are read errors",
     "as without the fault: invalid words are skipped and counted, the count is never shown; "
     "keys that go down and up meanwhile are missed"},
    {"link-absent", "eth0|usb0", Value::word, 0, 0, Site::device, Needs::nothing, Sight::seen,
     "the network interface does not exist",
     "ABORTED: the Ethernet row keeps -?? for LAN (eth0) or WAN (usb0)"},
    {"link-down", "eth0|usb0", Value::word, 0, 0, Site::device, Needs::nothing, Sight::seen,
     "nothing is at the other end of the network cable",
     "ABORTED: the Ethernet row keeps -?? for LAN (eth0) or WAN (usb0)"},
    {"link-dropped", "eth0|usb0", Value::word, 0, 0, Site::device, Needs::nothing, Sight::depends,
     "the network link is down for 0.6 s",
     "as without the fault: the count of good readings begins again when it strikes while they "
     "are counted; else not seen"},
    {"link-flapping", "eth0|usb0", Value::word, 0, 0, Site::device, Needs::nothing, Sight::seen,
     "the network link is down for a second, up for four, down again ...",
     "ABORTED: the Ethernet row changes between -ok and -?? for LAN (eth0) or WAN (usb0)"},
    {"link-refused", "eth0|usb0", Value::word, 0, 0, Site::device, Needs::nothing, Sight::seen,
     "the network driver refuses to tell the state of its link",
     "ABORTED: the Ethernet row keeps -?? for LAN (eth0) or WAN (usb0)"},
    {"no-privilege", "", Value::none, 0, 0, Site::host, Needs::nothing, Sight::seen,
     "iopl is refused as it is without root",
     "UNDECIDED: \"Frontpanel init error -49999\", and nobody can abort"},
    {"panel-dead", "", Value::none, 0, 0, Site::device, Needs::cpld, Sight::seen,
     "the front panel answers nothing: no acknowledge on I2C, 0xFF and busy on the parallel port",
     "UNDECIDED: from the start \"Frontpanel init error -49997\", and nobody can abort; later the "
     "program waits for the panel for ever"},
    {"panel-type", "N", Value::number, 0, 255, Site::device, Needs::cpld, Sight::depends,
     "the front panel reports type N",
     "UNDECIDED: with an unknown type \"Frontpanel init error -49997\", and nobody can abort; "
     "with the other known type the picture is wrong, which only the operator can see"},
    {"parallel-flaky", "LINE:N", Value::pair, 0, 7, Site::device, Needs::cpld, Sight::depends,
     "one reading in each N of line LINE of the parallel port is wrong",
     "ABORTED with N up to 5: the parallel row keeps \"Bit status: \" with a changing character at "
     "LINE; PASSED from 12 on, only later: a test looks at a line in 4 of its 66 readings, and ten "
     "tests in a row soon see nothing; between, chance decides",
     1, 1'000'000},
    {"parallel-high", "LINE", Value::number, 0, 7, Site::device, Needs::cpld, Sight::seen,
     "input line LINE of the parallel port is stuck high",
     "ABORTED: the parallel row keeps \"Bit status: \" with 1 at LINE"},
    {"parallel-inverted", "LINE", Value::number, 0, 7, Site::device, Needs::cpld, Sight::seen,
     "input line LINE of the parallel port is the inverse of its output",
     "ABORTED: the parallel row keeps \"Bit status: \" with 0 at LINE"},
    {"parallel-low", "LINE", Value::number, 0, 7, Site::device, Needs::cpld, Sight::seen,
     "input line LINE of the parallel port is stuck low",
     "ABORTED: the parallel row keeps \"Bit status: \" with 0 at LINE"},
    {"parallel-open", "LINE", Value::number, 0, 7, Site::device, Needs::cpld, Sight::seen,
     "the wire of line LINE in the loopback plug of the parallel port is broken",
     "ABORTED: the parallel row keeps \"Bit status: \" with 0 at LINE"},
    {"parallel-tied-high", "LINE", Value::number, 0, 6, Site::device, Needs::cpld, Sight::seen,
     "line LINE of the parallel port is tied to the next one, and a high output wins",
     "ABORTED: the parallel row keeps \"Bit status: \" with H at LINE and the next"},
    {"parallel-tied-low", "LINE", Value::number, 0, 6, Site::device, Needs::cpld, Sight::seen,
     "line LINE of the parallel port is tied to the next one, and a low output wins",
     "ABORTED: the parallel row keeps \"Bit status: \" with L at LINE and the next"},
    {"playback-underrun", "SECONDS", Value::number, 1, 3600, Site::device, Needs::nothing,
     Sight::depends, "the playback breaks off every so many seconds as if written too late",
     "as without the fault: the console tells \"Playout restart!\" each time"},
    {"sda-stuck", "0|1", Value::number, 0, 1, Site::device, Needs::i2c, Sight::seen,
     "the data line of the I2C bus is held low (0) or high (1)",
     "UNDECIDED: from the start \"Frontpanel init error -49997\", and nobody can abort"},
    {"serial-absent", "N", Value::number, 1, 2, Site::device, Needs::nothing, Sight::seen,
     "serial adapter N is not plugged in; one that is in use is pulled out",
     "ABORTED: the USB row keeps \"Missing USBs: 1\", with both adapters gone \"Missing USBs: 2\"; "
     "as without the fault when it strikes after the row reads \"OK\""},
    {"serial-byte-flipped", "N", Value::number, 1, 1'000'000, Site::device, Needs::nothing,
     Sight::seen, "the lowest bit of the Nth byte between the serial adapters is wrong",
     "ABORTED: the USB row keeps \"In progress: \" and the rounds until then; not seen beyond the "
     "last byte of the test"},
    {"serial-byte-lost", "N", Value::number, 1, 1'000'000, Site::device, Needs::nothing,
     Sight::seen, "the Nth byte between the serial adapters is lost",
     "ABORTED: the USB row keeps \"In progress: \" and the rounds until then; not seen beyond the "
     "last byte of the test"},
    {"serial-cable", "looped|none", Value::word, 0, 0, Site::device, Needs::nothing, Sight::depends,
     "each serial adapter hears itself (looped) or nothing (none)",
     "ABORTED with none: the USB row keeps \"In progress: 0\"; as without the fault with looped: "
     "both adapters are sent the same text, so the test takes either wiring"},
    {"serial-first-number", "N", Value::number, 0, 9, Site::device, Needs::nothing, Sight::unseen,
     "serial adapter 1 is plugged again and becomes /dev/ttyUSBN; when adapter 2 has that "
     "number, the two change places",
     "as without the fault: the test finds an adapter under any number"},
    {"serial-late", "SECONDS", Value::number, 1, 3600, Site::device, Needs::nothing, Sight::depends,
     "both serial adapters are plugged in only so many seconds later",
     "as without the fault: the USB row shows \"Missing USBs: 2\" until then"},
    {"serial-output-refused", "N", Value::number, 1, 2, Site::device, Needs::nothing, Sight::seen,
     "serial adapter N takes no output (I/O error)",
     "ABORTED: the USB row shows \"Not running\" after \"Cannot write to RS232\" on the console"},
    {"serial-second-number", "N", Value::number, 0, 9, Site::device, Needs::nothing, Sight::unseen,
     "serial adapter 2 is plugged again and becomes /dev/ttyUSBN; when adapter 1 has that "
     "number, the two change places",
     "as without the fault: the test finds an adapter under any number"},
    {"serial-settings-refused", "N", Value::number, 1, 2, Site::device, Needs::nothing, Sight::seen,
     "serial adapter N takes no settings (I/O error)",
     "ABORTED: the USB row shows \"Not running\" after \"Cannot set raw mode, error -1\" on the "
     "console"},
    {"serial-speed-wrong", "N", Value::number, 1, 2, Site::device, Needs::nothing, Sight::seen,
     "serial adapter N runs at half the speed that is set",
     "ABORTED: the USB row keeps \"In progress: \" and the rounds until then"},
    {"speaker-absent", "", Value::none, 0, 0, Site::device, Needs::nothing, Sight::seen,
     "the console device has no speaker and can't be opened for it",
     "UNDECIDED: \"FP init error 0\", the lamp test stays on the glass, and nobody can abort"},
    {"thread-create", "N", Value::number, 1, 99, Site::host, Needs::nothing, Sight::seen,
     "the Nth thread creation from then on fails",
     "NOT STARTED: status -1 to -5 by the unit that gets no thread"},
};

bool has_hex_prefix(std::string_view text) {
    return text.starts_with("0x") || text.starts_with("0X");
}

// All of `text`, or nothing.
std::optional<std::int64_t> parse_number(std::string_view text) {
    const bool hexadecimal = has_hex_prefix(text);
    if (hexadecimal) text.remove_prefix(2);
    std::int64_t number = 0;
    const char* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, number, hexadecimal ? 16 : 10);
    if (error != std::errc() || stop != end) return std::nullopt;
    return number;
}

bool is_number(std::string_view value, std::int64_t low, std::int64_t high) {
    const auto number = parse_number(value);
    return number && low <= *number && *number <= high;
}

bool is_pair(const Fault& fault, std::string_view value) {
    const std::size_t colon = value.find(':');
    return colon != std::string_view::npos &&
           is_number(value.substr(0, colon), fault.low, fault.high) &&
           is_number(value.substr(colon + 1), fault.second_low, fault.second_high);
}

std::string pair_needed(const Fault& fault) {
    const auto pair_of = [](std::int64_t first, std::int64_t second) {
        return std::to_string(first) + ":" + std::to_string(second);
    };
    return " needs " + std::string(fault.value_syntax) + ", two numbers from " +
           pair_of(fault.low, fault.second_low) + " to " + pair_of(fault.high, fault.second_high) +
           ": for example " + std::string(fault.name) + "=" +
           pair_of(fault.high, fault.second_high);
}

bool is_key(std::string_view value) {
    return value.size() == 1 && key_characters.find(value[0]) != std::string_view::npos;
}

bool board_has(Board board, Needs needs) {
    switch (needs) {
    case Needs::nothing:
        return true;
    case Needs::cpld:
        return board != Board::none;
    case Needs::aes:
        return board == Board::aes;
    case Needs::i2c:
        break;
    }
    return board == Board::i2c || board == Board::engine;
}

bool is_word(std::string_view words, std::string_view value) {
    for (;;) {
        const std::size_t bar = words.find('|');
        if (words.substr(0, bar) == value) return true;
        if (bar == std::string_view::npos) return false;
        words.remove_prefix(bar + 1);
    }
}

std::string first_word(std::string_view words) {
    return std::string(words.substr(0, words.find('|')));
}

// What to choose where board_has() says no.
std::string_view boards_with(Needs needs) {
    switch (needs) {
    case Needs::aes:
        return "aes";
    case Needs::i2c:
        return "i2c or engine";
    default:
        return "aes, plain, i2c or engine";
    }
}

std::string value_error(const Fault& fault, std::string_view value) {
    const std::string name(fault.name);
    switch (fault.value) {
    case Value::none:
        return value.empty() ? "" : "fault " + name + " takes no value: write just " + name;
    case Value::key:
        return is_key(value) ? ""
                             : "fault " + name + " needs a key, one of " +
                                   std::string(key_characters) + ": for example " + name + "=5";
    case Value::word:
        return is_word(fault.value_syntax, value)
                   ? ""
                   : "fault " + name + " needs one of " + std::string(fault.value_syntax) +
                         ": for example " + name + "=" + first_word(fault.value_syntax);
    case Value::pair:
        return is_pair(fault, value) ? "" : "fault " + name + pair_needed(fault);
    case Value::number:
        break;
    }
    if (is_number(value, fault.low, fault.high)) return "";
    return "fault " + name + " needs a number from " + std::to_string(fault.low) + " to " +
           std::to_string(fault.high) + ": for example " + name + "=" + std::to_string(fault.high);
}

} // namespace

std::span<const Fault> fault_list() { return faults; }

const Fault* find_fault(std::string_view name) {
    const auto found = std::ranges::find(faults, name, &Fault::name);
    return found == std::end(faults) ? nullptr : found;
}

std::string fault_error(Board board, std::string_view name, std::string_view value) {
    const Fault* const fault = find_fault(name);
    if (fault == nullptr)
        return "unknown fault " + std::string(name) + ": \"k4sim faults\" lists all there are";
    if (!board_has(board, fault->needs))
        return "fault " + std::string(name) + " has nothing to break on board " +
               std::string(board_name(board)) + ": choose board " +
               std::string(boards_with(fault->needs));
    return value_error(*fault, value);
}

std::int64_t fault_number(std::string_view value) { return parse_number(value).value_or(0); }

std::pair<std::int64_t, std::int64_t> fault_pair(std::string_view value) {
    const std::size_t colon = std::min(value.find(':'), value.size());
    const std::string_view rest = value.substr(colon);
    return {fault_number(value.substr(0, colon)), rest.empty() ? 0 : fault_number(rest.substr(1))};
}

} // namespace k4sim
