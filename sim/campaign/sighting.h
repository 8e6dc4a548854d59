// What one run of a campaign came to, from its record, and how that compares with the same run on
// a device without a fault.
#pragma once

#include "sim/campaign/single_faults.h"
#include "sim/diagnosis/symptoms.h"
#include "sim/story/events.h"
#include "sim/story/margins.h"

#include <optional>
#include <set>
#include <string>
#include <vector>

namespace k4sim {

class Json;

struct Sighting {
    std::string verdict;
    std::vector<StatusRow> rows;
    std::vector<Margin> ledger;
    bool left_safe = false;
    double seconds = 0;        // virtual
    std::vector<Event> events; // but for those that tell of faults
    // What only a person notices, each kind once: tones, lamps, light of the glass, that there was
    // a lamp test, and the last picture.
    std::set<std::string> perceived;
    std::string lamp_test;   // its last picture; empty when none stood for long enough
    std::vector<Sign> signs; // by which it is known again
};

// Of the record in a folder. Throws std::runtime_error when it is none, or not complete.
Sighting sighting_of(const std::string& folder);

// Whether a run came to what the run without a fault came to, by the rows or, where the glass can't
// be read, by all else that the program did: on a board without AES/EBU somebody has to end even
// that.
bool ended_well(const Sighting& run, const Sighting& good);

// Of a run with a fault, by the run without one:
// - "detected": it did not end well, and the row that the fault is a concern of says so
// - "misleading": it did not end well, but that row says nothing
// - "operator": it ended well, and a person could see or hear the difference; or it did not, and
//   a row can't be read
// - "escaped": it ended well
// - "blocked": it had to be ended from outside
// - "died": the program did
std::string class_of(const SingleFault& fault, const Sighting& run, const Sighting& good);

// All that a campaign keeps of a run, as one object: the members of SingleFault, "class",
// "verdict", "rows" (of each its "unit" and last "text"), "differs_at" (the second of the first
// event that the good run has not, if there is any), "told_at" (since when the row at fault stood
// at its last text, of one that was detected), "margins" (the smallest of each row that judged
// anything), "symptoms" (by which a diagnosis knows it again), "left_safe" and "seconds". Every
// second is a virtual one.
Json result_of(const SingleFault& fault, const Sighting& run, const Sighting& good);

// A text without the levels and counts behind it, which are others in each run.
std::string symptom_of(const std::string& text);

// The names of the classes, in the order above.
const std::vector<std::string>& class_names();

} // namespace k4sim
