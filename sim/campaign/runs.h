// What commands that make many runs have in common.
#pragma once

#include "sim/campaign/crew.h"
#include "sim/campaign/sighting.h"
#include "sim/formats/json.h"

#include <cstdint>
#include <string>
#include <vector>

namespace k4sim {

// What a number of runs is made with.
struct RunsPlan {
    unsigned jobs = 0; // at a time; 0: as many as there are processors
    std::uint64_t seed = 1;
    std::int64_t limit_us = 600'000'000; // virtual; of a run that nobody can end
    std::string out;                     // folder of the results
    std::vector<std::string> program;    // with its arguments
};

// What results come from, so that those of another program are not taken for its own. Throws
// std::runtime_error when a file can't be read.
Json identity_of(const RunsPlan& plan, const std::string& program, const std::string& device);

// The words of a run, with what the plan says of all of them, and the program.
std::vector<std::string> with_program(std::vector<std::string> words, const RunsPlan& plan);

// What the run came to. Throws std::runtime_error, which tells what was run, when that can't be
// judged: it must not look like a result.
Sighting look_at(const FinishedRun& run, const std::string& what);

// The real seconds of a run; what it was as its result tells.
Json cost_of(const std::string& fault, const std::string& board, const FinishedRun& run);

} // namespace k4sim
