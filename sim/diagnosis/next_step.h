// What a technician does next, so that fewer faults are left.
#pragma once

#include "sim/diagnosis/ranking.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace k4sim {

// What may be seen then, and what that tells.
struct Branch {
    std::string_view seen, tells;
    std::vector<std::string> faults; // of the candidates: those that it leaves
};

struct NextStep {
    std::string_view action;
    std::vector<Branch> branches; // each with a fault
};

// The step that leaves the fewest faults on average; empty where none leaves fewer.
std::optional<NextStep> step_for(const std::vector<Candidate>& candidates);

} // namespace k4sim
