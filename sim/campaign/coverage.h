// k4sim coverage: what the results of campaigns tell of the program.
#pragma once

#include "sim/campaign/document.h"
#include "sim/formats/json.h"

#include <string>
#include <vector>

namespace k4sim {

// The results of campaigns, or of parts of one, sorted by fault and board, each once. Throws
// std::runtime_error when there are none, when they come from different programs, devices, seeds
// or limits, or when two tell different things of the same run.
std::vector<Json> joined_results(const std::vector<std::string>& folders);

// For people: per unit, per board and in all what was detected, when, and how many faults look the
// same; all others with the reason. `way_back` tells how good the diagnosis is; empty: not judged.
Document coverage_document(const std::vector<Json>& results, const std::string& way_back = "");

// For programs: "faults", "detected", the "units" with the number of runs of each class, and
// "runs", one a line, each with "fault", "board", "unit", "class" and "verdict".
std::string coverage_json(const std::vector<Json>& results);

// Writes coverage.md, coverage.html and coverage.json into the folder `out`; prints
// how much was detected. Returns the status: 0. Throws std::runtime_error.
int write_coverage(const std::vector<std::string>& folders, const std::string& out,
                   const std::string& way_back);

// Prints each result that the coverage.json `file` does not tell the same of. Returns the status: 1
// when there is one, else 0. Throws std::runtime_error.
int compare_coverage(const std::vector<std::string>& folders, const std::string& file);

} // namespace k4sim
