// Which control elements a sound card has, and what stands behind each: a level or switch
// of the codec, or a register of the digital line.
#pragma once

#include "sim/models/sound/aesebu.h"
#include "sim/models/sound/codec.h"
#include "sim/models/sound/controls.h"
#include "sim/setup.h"

#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

namespace k4sim {

struct ControlRow {
    ControlElement element;

    // A mixer element is one of the first two.
    CodecSettings::Pair<int> CodecSettings::*level = nullptr;
    CodecSettings::Pair<bool> CodecSettings::*flag = nullptr;
    bool flag_inverted = false;

    // A register of the digital line; nothing to write behind a read-only one.
    void (*read)(AesEbu& line, std::span<std::int32_t> values) = nullptr;
    void (*write)(AesEbu& line, std::span<const std::int32_t> values) = nullptr;
    bool acts_on_write = false; // also when it holds the value already

    bool digital() const { return element.device == 1; }
    bool of_receiver() const { return element.name.starts_with("IEC958 Capture "); }
};

std::vector<ControlRow> control_rows(Board board);

// The name that a simple mixer gives the element: "Line In Capture Volume" is "Line In".
std::string_view simple_name(std::string_view element_name);

} // namespace k4sim
