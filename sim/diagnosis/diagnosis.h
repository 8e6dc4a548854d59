// The way back: from what was seen to what may be broken, and to the next step.
#pragma once

#include "sim/diagnosis/next_step.h"

#include <optional>
#include <string>
#include <vector>

namespace k4sim {

struct Diagnosis {
    enum class State {
        nothing_failed, // there is nothing to look for
        unknown,        // nothing that is known looks like it
        found
    };

    State state = State::unknown;
    std::vector<Candidate> candidates; // the best first
    std::size_t more = 0;              // that are not told, though they fit as well as the last one
    std::optional<NextStep> next;
};

// Candidates that are told: their own class is among these.
inline constexpr std::size_t candidates_told = 3;

// board: empty when it is not known.
Diagnosis diagnosis_of(const Symptoms& seen, const std::string& board, const Knowledge& knowledge);

std::string as_text(const Diagnosis& diagnosis);

// "state" ("nothing failed", "unknown" or "found"), "words" (of a state without candidates),
// "more", "candidates" (each with "fit", "boards" and "faults", these with "fault" and "words")
// and, where there is one, "next" with its "action" and "branches" ("seen", "tells", "faults").
Json as_json(const Diagnosis& diagnosis);

// How many of a campaign's detected faults the diagnosis brings among the first, by their
// symptoms alone.
struct Judgement {
    std::size_t runs = 0, among_told = 0, first = 0;
    std::vector<std::string> missed; // "BOARD FAULT"

    double share() const; // in percent
};
Judgement judge(const std::vector<Json>& results, const Knowledge& knowledge);
std::string as_text(const Judgement& judgement);

} // namespace k4sim
