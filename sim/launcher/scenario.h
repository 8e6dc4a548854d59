// Scenario files: a board, an operator and a list of steps, in TOML.
//
//     board = "aes"          # optional, like operator and seed
//     operator = "none"
//
//     [[step]]
//     at = 3.5               # seconds since the start
//     do = "press 5"
//
//     [[step]]
//     when = "console:Frontpanel init error"   # or "screen:TEXT", or "beep"
//     after = 0.2            # seconds after that; optional
//     do = "press E"
//
// What can be done: press KEY, hold KEY, release KEY (keys 0..9 * # K E A C D M),
// turn ENCODER STEPS (encoder 1 or 2, steps negative to the left), plug CABLE, unplug CABLE
// (analog or digital), fault NAME[=VALUE].
#pragma once

#include "sim/setup.h"

#include <optional>
#include <string>

namespace k4sim {

// Reads the file into the setup: board, operator and seed if it names them, and its steps.
// `board`: the one to be used whatever the file says; what its faults can break depends on it.
// Throws UsageError, which names file and line, for a file that can't be read, that is no
// TOML, or that holds an unknown key, fault or value.
void read_scenario(const std::string& path, Setup& setup, std::optional<Board> board = {});

} // namespace k4sim
