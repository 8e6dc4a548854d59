#include "sim/models/faults.h"

#include "sim/models/keys.h"

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
    {"cpld-id", "N", Value::number, 0, 255, Site::device, Needs::cpld, Sight::depends,
     "the CPLD identifies itself as N",
     "UNDECIDED: with an unknown ID \"Frontpanel init error -49997\", and nobody can abort; as "
     "without the fault when N is the board's own ID"},
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
    {"sda-stuck", "0|1", Value::number, 0, 1, Site::device, Needs::i2c, Sight::seen,
     "the data line of the I2C bus is held low (0) or high (1)",
     "UNDECIDED: from the start \"Frontpanel init error -49997\", and nobody can abort"},
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

bool is_key(std::string_view value) {
    return value.size() == 1 && key_characters.find(value[0]) != std::string_view::npos;
}

bool board_has(Board board, Needs needs) {
    switch (needs) {
    case Needs::nothing:
        return true;
    case Needs::cpld:
        return board != Board::none;
    case Needs::i2c:
        break;
    }
    return board == Board::i2c || board == Board::engine;
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
    case Value::number:
        break;
    }
    const auto number = parse_number(value);
    if (number && fault.low <= *number && *number <= fault.high) return "";
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
               (fault->needs == Needs::i2c ? "i2c or engine" : "aes, plain, i2c or engine");
    return value_error(*fault, value);
}

std::int64_t fault_number(std::string_view value) { return parse_number(value).value_or(0); }

} // namespace k4sim
