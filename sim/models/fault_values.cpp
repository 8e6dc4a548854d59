#include "sim/models/faults.h"

#include "sim/models/nearest.h"
#include "sim/models/panel/keys.h"
#include "sim/models/universe.h"
#include "sim/setup_choices.h"

#include <algorithm>
#include <charconv>
#include <iterator>
#include <optional>
#include <vector>

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

std::optional<double> parse_decimal(std::string_view text) {
    double number = 0;
    const char* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, number, std::chars_format::fixed);
    if (error != std::errc() || stop != end) return std::nullopt;
    return number;
}

bool is_decimal(std::string_view value, std::int64_t low, std::int64_t high) {
    const auto number = parse_decimal(value);
    return number && *number >= static_cast<double>(low) && *number <= static_cast<double>(high);
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

bool takes(const Fault& fault, std::string_view value) {
    switch (fault.value) {
    case Value::none:
        return value.empty();
    case Value::key:
        return is_key(value);
    case Value::word:
        return std::ranges::count(fault_words(fault), value) > 0;
    case Value::pair:
        return is_pair(fault, value);
    case Value::decimal:
        return is_decimal(value, fault.low, fault.high);
    case Value::number:
        break;
    }
    return is_number(value, fault.low, fault.high);
}

std::string what_it_needs(const Fault& fault) {
    switch (fault.value) {
    case Value::key:
        return "a key, one of " + std::string(key_characters);
    case Value::word:
        return "one of " + std::string(fault.value_syntax);
    case Value::pair:
        return std::string(fault.value_syntax) + ", two numbers " + fault_range(fault);
    default:
        return "a number " + fault_range(fault);
    }
}

std::string value_error(const Fault& fault, std::string_view value) {
    if (takes(fault, value)) return "";
    const std::string name(fault.name);
    if (fault.value == Value::none) return "fault " + name + " takes no value: write just " + name;
    return "fault " + name + " needs " + what_it_needs(fault) + ": for example " +
           fault_example(fault);
}

} // namespace

std::vector<std::string_view> fault_names() {
    std::vector<std::string_view> names;
    std::ranges::transform(fault_list(), std::back_inserter(names), &Fault::name);
    return names;
}

std::vector<std::string_view> fault_words(const Fault& fault) {
    std::vector<std::string_view> words;
    std::string_view rest = fault.value == Value::word ? fault.value_syntax : "";
    while (!rest.empty()) {
        const std::size_t bar = std::min(rest.find('|'), rest.size());
        words.push_back(rest.substr(0, bar));
        rest.remove_prefix(std::min(bar + 1, rest.size()));
    }
    return words;
}

std::string fault_example(const Fault& fault) {
    std::string example(fault.name);
    if (fault.value == Value::none) return example;
    return example.append("=").append(fault.example.empty() ? fault_words(fault).front()
                                                            : fault.example);
}

std::string fault_range(const Fault& fault) {
    switch (fault.value) {
    case Value::decimal:
        return "from " + std::to_string(fault.low) + " to " + std::to_string(fault.high) +
               (fault.value_syntax == "DB" ? " dB" : " seconds");
    case Value::number:
        return "from " + std::to_string(fault.low) + " to " + std::to_string(fault.high);
    case Value::pair:
        return "from " + pair_of(fault.low, fault.second_low) + " to " +
               pair_of(fault.high, fault.second_high);
    default:
        return "";
    }
}

std::vector<std::string_view> fault_boards(const Fault& fault) {
    switch (fault.needs) {
    case Needs::aes:
        return {"aes"};
    case Needs::i2c:
        return {"i2c", "engine"};
    case Needs::cpld:
        return {"aes", "plain", "i2c", "engine"};
    case Needs::nothing:
        break;
    }
    return names_of(boards);
}

std::string fault_error(Board board, std::string_view name, std::string_view value) {
    if (is_site(name)) return site_error(board, name, value);
    const Fault* const fault = find_fault(name);
    if (fault == nullptr)
        return "unknown fault " + std::string(name) + ": \"k4sim faults\" lists all there are" +
               did_you_mean(name, fault_names());
    const std::vector<std::string_view> suitable = fault_boards(*fault);
    const std::string_view chosen = name_of(boards, board);
    if (std::ranges::find(suitable, chosen) == suitable.end())
        return "fault " + std::string(name) + " has nothing to break on board " +
               std::string(chosen) + ": choose board " + alternatives(suitable);
    return value_error(*fault, value);
}

std::string clear_error(Board board, std::string_view name, std::string_view value) {
    const std::string error = fault_error(board, name, value);
    if (!error.empty() || is_site(name) || !find_fault(name)->passes) return error;
    return "fault " + std::string(name) + " passes by itself: there is nothing to clear";
}

std::int64_t fault_number(std::string_view value) { return parse_number(value).value_or(0); }

double fault_decimal(std::string_view value) { return parse_decimal(value).value_or(0); }

std::pair<std::int64_t, std::int64_t> fault_pair(std::string_view value) {
    const std::size_t colon = std::min(value.find(':'), value.size());
    const std::string_view rest = value.substr(colon);
    return {fault_number(value.substr(0, colon)), rest.empty() ? 0 : fault_number(rest.substr(1))};
}

} // namespace k4sim
