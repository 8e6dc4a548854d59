// k4sim campaign: every single fault once.
#pragma once

#include "sim/campaign/runs.h"
#include "sim/setup.h"

#include <string>
#include <vector>

namespace k4sim {

// Part `number`, from 1 on, of `of` parts of about the same size.
struct Shard {
    unsigned number = 1, of = 1;
};

struct CampaignPlan {
    RunsPlan runs;
    std::string pattern; // of faults; empty: all
    std::vector<Board> boards;
    std::string expected; // only faults that may have this class; empty: all
    Shard shard;
};

// Runs what is not yet among the results, which are the same bytes, but for their order, on any
// machine. A device without a fault is run first on each board. Prints what came of it, and each
// run whose class is not the expected one. Returns the status: 0; 1 when there is such a run; 130
// when a signal broke it off. Throws std::runtime_error.
//
// program_path: of the program; device_path: of the library that is the device. What they hold is
// part of the identity of the results.
int run_campaign(const CampaignPlan& plan, const std::string& program_path,
                 const std::string& device_path);

} // namespace k4sim
