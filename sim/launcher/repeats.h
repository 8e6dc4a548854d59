// Events that come again and again, written once: hours of a run in which a unit tries something
// over and over are few lines so.
#pragma once

#include "sim/models/surroundings.h"

#include <span>
#include <string>
#include <string_view>

namespace k4sim {

// A line of events.jsonl, with its end, and the time that stands in it first.
struct EventLine {
    Microseconds t = 0;
    std::string_view text;
};

// The lines in their order. Where up to 16 of them come at least three times more, the same but
// for their times, and each always as long after the time before, an event "repeat" stands behind
// the first ones for all that follow. Nothing is lost: who writes the pattern anew as often as it
// says, with times that are as much later, has every line.
std::string fold_repeats(std::span<const EventLine> lines);

} // namespace k4sim
