// The control elements of the sound card, as data.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string_view>

namespace k4sim {

struct ControlElement {
    enum class Kind { integer, boolean, bytes };
    enum class Access {
        read_write,
        read_only,
        inactive // shown, but can be neither read nor written
    };
    // A linear scale in hundredths of a dB from the element's minimum on.
    struct Decibels {
        int minimum_hundredths;
        int step_hundredths;
        bool minimum_is_silence;
    };

    std::string_view name;
    unsigned device; // 0 for the mixer, 1 for the IEC958 elements
    Kind kind;
    unsigned count; // of values; bytes: of bytes
    std::int32_t minimum, maximum, step;
    Access access;
    std::optional<Decibels> decibels;
};

// No element has more values.
inline constexpr unsigned control_values_max = 24;

// What comes of reading or writing an element.
enum class ControlResult {
    unchanged, // written, but it held these values already; also of a successful read
    changed,
    denied,  // read-only or inactive: EPERM
    invalid, // a value out of range, or too few values: EINVAL
    refused, // the hardware does not do it (a fault): EIO
    absent   // no such element (a fault): ENOENT
};

} // namespace k4sim
