// What k4sim can tell without a run: the faults, the keys, and what stands in a scenario.
#pragma once

#include "sim/models/faults.h"

#include <optional>
#include <string>
#include <vector>

namespace k4sim {

struct Options;

// The faults whose name contains the pattern, or matches it where it has *, ? or [ in it, in their
// order. Throws UsageError when there is none.
std::vector<const Fault*> matching_faults(const std::string& pattern);

// For people, and for programs: a JSON list of objects with "name", "value" (as in the text),
// "low" and "high" of a number or decimal, "boards" (a list), "example", "clears" (or it passes
// by itself), "sight", "breaks" and "verdict".
std::string faults_as_text(const std::vector<const Fault*>& faults);
std::string faults_as_json(const std::vector<const Fault*>& faults);

// Every single fault of the board (empty: of each that has a panel) whose "SITE=WAY" the pattern
// fits, as above: with the row that it concerns, what a run has to make of it, and why. As JSON
// "fault", "board", "unit", "expected" and "why". Throws UsageError when there is none.
std::string universe_as_text(std::optional<Board> board, const std::string& pattern);
std::string universe_as_json(std::optional<Board> board, const std::string& pattern);

// Each key and step of a knob: its code on the program's console, the letter on its row, what a
// scenario does for it, and what it is at the panel.
std::string keys_as_text();

// What was read of a scenario: a line of its settings, one of its verdicts, and one a demand.
std::string scenario_as_text(const Options& options);

} // namespace k4sim
