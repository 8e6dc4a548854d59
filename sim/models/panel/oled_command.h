// The command table of an OLED controller as data: which bytes are commands, how many
// parameters follow, which values those may take and what they are after a reset.
#pragma once

#include <array>
#include <cstdint>

namespace k4sim {

// A value is valid when it lies in steps from `low` to `high`, and its bits `zeros` are 0.
struct OledParameter {
    std::uint8_t low = 0x00;
    std::uint8_t high = 0xFF;
    std::uint8_t reset = 0x00;
    std::uint8_t step = 1;
    std::uint8_t zeros = 0x00;

    constexpr bool accepts(std::uint8_t value) const {
        return low <= value && value <= high && (value - low) % step == 0 && (value & zeros) == 0;
    }
};

inline constexpr unsigned oled_parameters_max = 15; // the grey table

struct OledCommand {
    enum class Order { any, not_falling, rising };

    std::uint8_t code = 0;
    std::uint8_t parameter_count = 0;
    // The first parameter, and every further one.
    std::array<OledParameter, 2> parameters{};
    Order order = Order::any; // of the parameters' values

    constexpr const OledParameter& parameter(unsigned index) const {
        return parameters[index == 0 ? 0 : 1];
    }
};

// Rows of a table: without parameter, with one, with two.
constexpr OledCommand oled_command(std::uint8_t code) { return {.code = code}; }

constexpr OledCommand oled_command(std::uint8_t code, OledParameter only) {
    return {.code = code, .parameter_count = 1, .parameters = {only, {}}};
}

constexpr OledCommand oled_command(std::uint8_t code, OledParameter first, OledParameter second) {
    return {.code = code, .parameter_count = 2, .parameters = {first, second}};
}

// First and last column or row, from 0 to `limit`, which is also the reset value.
constexpr OledCommand oled_span(std::uint8_t code, std::uint8_t limit) {
    return {.code = code,
            .parameter_count = 2,
            .parameters = {OledParameter{0x00, limit, 0x00}, OledParameter{0x00, limit, limit}},
            .order = OledCommand::Order::not_falling};
}

// The pulse widths of grey 1 to 15, each at most `widest`.
constexpr OledCommand oled_grey_table(std::uint8_t code, OledCommand::Order order,
                                      std::uint8_t widest) {
    return {.code = code,
            .parameter_count = oled_parameters_max,
            .parameters = {OledParameter{0x00, widest}, OledParameter{0x00, widest}},
            .order = order};
}

} // namespace k4sim
