// What a campaign runs through: every single fault, on every board that has what it breaks.
#pragma once

#include "sim/setup.h"

#include <string>
#include <vector>

namespace k4sim {

struct SingleFault {
    std::string fault; // as after --fault
    std::string board;
    std::string unit;     // the status row whose concern it is; empty: no one's
    std::string expected; // the name of a class; empty: any
    std::string why;      // it is not detected, in one sentence
};

// Those whose name contains the pattern, or matches it where it has *, ? or [ in it, board by
// board. Throws std::runtime_error when there is none.
std::vector<SingleFault> single_faults(const std::string& pattern,
                                       const std::vector<Board>& boards);

// The boards of "NAME[,NAME]"; of an empty list all that have a panel. Throws std::runtime_error.
std::vector<Board> boards_of(const std::string& list);

} // namespace k4sim
