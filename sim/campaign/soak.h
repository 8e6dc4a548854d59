// k4sim soak: runs that nobody thought of.
#pragma once

#include "sim/campaign/campaign.h"

#include <cstdint>
#include <string>

namespace k4sim {

struct SoakPlan {
    RunsPlan runs;
    std::uint64_t first = 1, last = 1; // seeds
};

// For each seed a run on a random board, with an operator of human habits, and up to three faults,
// from the start or from a random second on. What is wrong with any of them is printed, with the
// command line that makes it again:
// - a device without a fault that did not come to what it comes to with an operator who does
//   everything right
// - a fault from the start that has to be detected, and was not
// - a program that died, or that nobody could end though no fault there is known for it
// - inputs left on by a program that ended, and could have switched them off
// Goes on where it was broken off. Returns the status: 0; 1 when something was wrong; 130 when a
// signal broke it off. Throws std::runtime_error. The paths are as for run_campaign().
int run_soak(const SoakPlan& plan, const std::string& program_path, const std::string& device_path);

} // namespace k4sim
