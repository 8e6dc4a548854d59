// The list of everything that can be broken on purpose, as data: what the user types,
// what it breaks, and what must come of it.
#pragma once

#include "sim/setup.h"

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace k4sim {

struct Fault {
    enum class Value { none, key, number, decimal, pair, word };
    // Who carries it out: Device::set_fault, or the layer that stands in for the kernel.
    enum class Site { device, host };
    // What a board must have for the fault to make sense.
    enum class Needs { nothing, cpld, i2c, aes };
    // Whether the self-test can notice it.
    enum class Sight { seen, depends, unseen };

    std::string_view name;
    std::string_view value_syntax{}; // as in the usage text, all words of a word fault
    std::string_view example{};      // a value that makes sense; of a word fault: its first word
    Value value = Value::none;
    std::int64_t low = 0, high = 0; // range of a number or decimal, or of the first of a pair
    std::int64_t second_low = 0, second_high = 0; // range of the second number of a pair
    Site site = Site::device;
    Needs needs = Needs::nothing;
    Sight sight = Sight::depends;
    bool passes = false;        // by itself, so that it can't be cleared
    std::string_view breaks{};  // what it breaks
    std::string_view verdict{}; // the verdict of a run of the self-test with this fault
};

// Sorted by name.
std::span<const Fault> fault_list();

// Null for an unknown name.
const Fault* find_fault(std::string_view name);

std::vector<std::string_view> fault_names();

// All words that a word fault takes; none of another one.
std::vector<std::string_view> fault_words(const Fault& fault);

// NAME, or NAME=VALUE with its example.
std::string fault_example(const Fault& fault);

// "from LOW to HIGH" of a number, a decimal (with its unit) or a pair; empty of what takes none.
std::string fault_range(const Fault& fault);

// The names of the boards that have what it breaks.
std::vector<std::string_view> fault_boards(const Fault& fault);

// Why `name`, of the list or of a site, with `value` (empty: none given) can't be had on `board`:
// one line without a line end that says what and how to mend it. Empty when all is well.
std::string fault_error(Board board, std::string_view name, std::string_view value);

// The same for one that is to be cleared, with the value that it was set with.
std::string clear_error(Board board, std::string_view name, std::string_view value);

// The value of a number fault that fault_error() has nothing against: decimal, or
// hexadecimal with 0x.
std::int64_t fault_number(std::string_view value);

// The same for a decimal fault, such as "-3.1".
double fault_decimal(std::string_view value);

// The same for a pair fault, "A:B"; of a number fault's value the second one is 0.
std::pair<std::int64_t, std::int64_t> fault_pair(std::string_view value);

} // namespace k4sim
