// What k4sim says when a run is over.
#pragma once

#include "sim/launcher/verdict.h"
#include "sim/setup.h"

#include <string>
#include <string_view>
#include <vector>

namespace k4sim {

// The faults and steps of the setup that never came: their second lies behind the end, what they
// wait for never happened, or what they count never got so far. "fault key-dead=5@100",
// "step 3 (press 7)", in the setup's order.
std::vector<std::string> never_struck(const Setup& setup, const Observation& seen);

// Whether the verdict is one of those (none: any), all that was planned came, every demand was met,
// and the record has no gap; true when nothing was expected or demanded.
bool as_expected(const Outcome& outcome, const std::vector<Verdict>& expected,
                 std::string_view gap);

// Each demand that failed, in a line without line end, in their order:
// "s.toml:12: screen "OK" within 30 s: not seen by 30 s".
std::vector<std::string> failed_demands(const Outcome& outcome);

// Why the run came out so: "6 of 6 rows OK". Asks for verdict, end and ledger of the outcome.
std::string why(const Outcome& outcome, const Observation& seen);

// Verdict, reason, virtual and real seconds and the smallest margin in one line without line end:
// "PASSED: 6 of 6 rows OK after ...". Then what else there is to know: a device that is not left
// safe, what never struck, the folder of the record, and the gap of it. Either may be empty.
std::string closing_line(const Outcome& outcome, const Observation& seen, std::string_view folder,
                         std::string_view gap);

} // namespace k4sim
