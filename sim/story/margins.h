// How near the verdict was: for each quantity that the self-test judges, its worst value, the
// limit, and how far that is.
#pragma once

#include "sim/story/story.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace k4sim {

struct Margin {
    enum class State {
        met,
        missed,
        not_judged, // the run ended before, or there was no occasion
        not_told    // by what the story was made of
    };

    std::string unit; // the status row
    std::string quantity;
    std::string in;                // "dB", "s", or what is counted
    std::optional<double> limit{}; // empty: not told, as what it is reckoned from was not
    State state = State::not_judged;
    std::optional<double> worst{};
    std::optional<double> distance{}; // of the worst value from the limit; negative: beyond it
    Microseconds at_us = 0;           // of the worst value
    enum class Kind {
        measured, // may be better than its limit
        counted,  // until it comes to its limit
        noted     // tells of the operator, not of the device
    };
    Kind kind = Kind::counted;
};

// Of every quantity one, in the order of the rows. Where a unit tries again until it is good, the
// values are those of the tries that made it good; while none did, of all of them.
std::vector<Margin> ledger_of(const Story& story);

// The one that the run depended on: the measured value that is farthest beyond its limit; else
// what lacks most of what is counted; else the measured value that is nearest to its limit. Null:
// nothing was judged.
const Margin* smallest(const std::vector<Margin>& ledger);

// "1.79 dB (gain of input 1 at 25 Hz)", "-2 (good sweeps: 2 of 4)"
std::string in_words(const Margin& margin);

// "met", "missed", "not judged", "not told".
std::string_view name_of(Margin::State state);

} // namespace k4sim
