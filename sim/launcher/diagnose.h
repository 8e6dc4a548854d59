// k4sim diagnose.
#pragma once

#include <string>
#include <utility>
#include <vector>

namespace k4sim {

struct Options;
struct Telling;

// For the page of a run in which something failed: what may be broken.
void add_diagnosis(Telling& telling);

// The same of rows alone, each a label and its text, as JSON.
std::string diagnosis_of_rows(const std::vector<std::pair<std::string, std::string>>& rows,
                              const std::string& board);

struct Answer {
    std::string text;
    bool known; // false: an unknown symptom, or too many faults that are not found
};

// How many of the faults of a campaign are found, in sentences for a document. Throws
// std::runtime_error.
std::string way_back(const std::string& folder);

// What may be broken, from what was seen; or what a campaign teaches, or how well its faults are
// found. Throws std::runtime_error for what can't be read.
Answer answer_to(const Options& options);

} // namespace k4sim
