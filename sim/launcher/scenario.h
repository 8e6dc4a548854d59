// Scenario files: a whole case, in TOML.
//
//     board = "aes"          # optional, like all of these
//     operator = "none"
//     seed = 1
//     schedule = "fair"
//     faults = ["key-dead=5@3"] # as --fault
//     arguments = ["run"]    # of the program
//     limit = 60
//     pace = "max"           # or a factor
//     expect = "passed"      # or several: ["aborted", "undecided"]
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
//     [[expect]]             # demands; a verdict stands in one of its own then: verdict = "passed"
//     screen = "USB Ports OK"   # or console = "TEXT"
//     within = 30            # seconds
//
//     [[expect]]
//     event = "operator press"
//     with = {key = "[0-4]"}    # members of the event; optional
//     never = true           # also together with within
//     after = "beep"         # as when, or a number of seconds; optional
//
// What can be done: see sim/operator/action.h.
#pragma once

#include "sim/setup.h"

#include <optional>
#include <string>

namespace k4sim {

struct Options;

// Reads the file ("-": standard input) into the options: what it names of the setup, its steps,
// the arguments, the verdicts and the demands. `board`: the one to be used whatever the file says;
// what its faults can break depends on it. Throws UsageError, which names file and line, for a
// file that can't be read, that is no TOML, or that holds an unknown key, fault, event or value.
void read_scenario(const std::string& path, Options& options, std::optional<Board> board = {});

} // namespace k4sim
