#include "sim/models/faults.h"

#include "sim/models/panel/keys.h"

#include <algorithm>
#include <charconv>
#include <optional>

namespace k4sim {

namespace {

using Value = Fault::Value;
using Needs = Fault::Needs;

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

std::string pair_of(std::int64_t first, std::int64_t second) {
    return std::to_string(first) + ":" + std::to_string(second);
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
        return is_pair(fault, value)
                   ? ""
                   : "fault " + name + " needs " + std::string(fault.value_syntax) +
                         ", two numbers " + fault_range(fault) + ": for example " + name + "=" +
                         pair_of(fault.high, fault.second_high);
    case Value::number:
        break;
    }
    return is_number(value, fault.low, fault.high)
               ? ""
               : "fault " + name + " needs a number " + fault_range(fault) + ": for example " +
                     name + "=" + std::to_string(fault.high);
}

} // namespace

std::string fault_range(const Fault& fault) {
    switch (fault.value) {
    case Value::number:
        return "from " + std::to_string(fault.low) + " to " + std::to_string(fault.high);
    case Value::pair:
        return "from " + pair_of(fault.low, fault.second_low) + " to " +
               pair_of(fault.high, fault.second_high);
    default:
        return "";
    }
}

std::string_view fault_boards(const Fault& fault) {
    switch (fault.needs) {
    case Needs::aes:
        return "aes";
    case Needs::i2c:
        return "i2c or engine";
    case Needs::cpld:
        return "aes, plain, i2c or engine";
    case Needs::nothing:
        break;
    }
    return "";
}

std::string fault_error(Board board, std::string_view name, std::string_view value) {
    const Fault* const fault = find_fault(name);
    if (fault == nullptr)
        return "unknown fault " + std::string(name) + ": \"k4sim faults\" lists all there are";
    if (!board_has(board, fault->needs))
        return "fault " + std::string(name) + " has nothing to break on board " +
               std::string(board_name(board)) + ": choose board " +
               std::string(fault_boards(*fault));
    return value_error(*fault, value);
}

std::int64_t fault_number(std::string_view value) { return parse_number(value).value_or(0); }

std::pair<std::int64_t, std::int64_t> fault_pair(std::string_view value) {
    const std::size_t colon = std::min(value.find(':'), value.size());
    const std::string_view rest = value.substr(colon);
    return {fault_number(value.substr(0, colon)), rest.empty() ? 0 : fault_number(rest.substr(1))};
}

} // namespace k4sim
