// What an operator can do, as a line of text:
//
//     press KEY, hold KEY, release KEY     keys of key_characters
//     turn ENCODER STEPS                   encoder 1 or 2; negative steps to the left
//     plug CABLE, unplug CABLE             the loopback cable analog or digital
//     fault NAME[=VALUE], clear NAME[=VALUE]   a fault begins, or is over
#pragma once

#include "sim/setup.h"

#include <optional>
#include <string>
#include <string_view>

namespace k4sim {

struct Action {
    enum class Kind { press, hold, release, turn, plug, unplug, fault, clear };
    enum class Cable { analog, digital };
    Kind kind = Kind::press;
    char key = 0;    // press, hold, release
    int encoder = 0; // turn
    int steps = 0;
    Cable cable = Cable::analog; // plug, unplug
    std::string name;            // fault, clear
    std::string value;
};

// Empty for a line that is no action.
std::optional<Action> parse_action(std::string_view line);

// Why the line can't be carried out on that board, in one line; empty when it can.
std::string action_error(Board board, std::string_view line);

} // namespace k4sim
