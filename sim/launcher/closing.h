// What k4sim says when a run is over.
#pragma once

#include "sim/launcher/verdict.h"
#include "sim/setup.h"

#include <string>
#include <vector>

namespace k4sim {

// A run as it came out.
struct Outcome {
    std::string program;
    Verdict verdict;
    ProcessEnd end;
    std::vector<std::string> never_struck;
    double real_s = 0;
};

// The faults and steps of the setup that never came: their second lies behind the end, what they
// wait for never happened, or what they count never got so far. "fault key-dead=5@100",
// "step 3 (press 7)", in the setup's order.
std::vector<std::string> never_struck(const Setup& setup, const Observation& seen);

// Whether the verdict is one of those, and all that was planned came; true of none.
bool as_expected(const Outcome& outcome, const std::vector<Verdict>& expected);

// The verdict and its reason in one line without line end: "PASSED: 6 of 6 rows OK after ...".
// Then what else there is to know: a device that is not left safe, what never struck, and with
// met = false that the run is not what --expect asked for.
std::string closing_line(const Outcome& outcome, const Observation& seen, const Setup& setup,
                         bool met);

} // namespace k4sim
