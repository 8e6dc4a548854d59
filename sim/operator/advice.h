// What a person at the device would do next, and why.
#pragma once

#include "sim/operator/screen_reader.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace k4sim {

// What the person knows.
struct Situation {
    bool lamp_test = false; // the whole glass is lit
    std::vector<ScreenRow> rows;
    std::string_view console; // all of it
    bool analog_plugged = false;
    bool digital_plugged = false;
};

struct Advice {
    std::string action; // see action.h; empty: nothing but to wait
    std::string why;
};

Advice next_step(const Situation& situation);

} // namespace k4sim
