// The command table of an OLED controller as data: which bytes are commands, how many
// parameters follow, which values those may take and what they are after a reset.
#pragma once

#include <array>
#include <cstdint>

namespace k4sim {

// A value is valid when low <= value <= high and its bits under `fixed_mask` are
// `fixed_bits`.
struct OledParameter {
    std::uint8_t low = 0x00;
    std::uint8_t high = 0xFF;
    std::uint8_t reset = 0x00;
    std::uint8_t fixed_mask = 0x00;
    std::uint8_t fixed_bits = 0x00;

    constexpr bool accepts(std::uint8_t value) const {
        return low <= value && value <= high && (value & fixed_mask) == fixed_bits;
    }
};

inline constexpr unsigned oled_parameters_max = 15; // the grey table

struct OledCommand {
    std::uint8_t code = 0;
    std::uint8_t parameter_count = 0;
    // Of the first and of every further parameter.
    std::array<OledParameter, 2> parameters{};

    constexpr const OledParameter& parameter(unsigned index) const {
        return parameters[index == 0 ? 0 : 1];
    }
};

} // namespace k4sim
