// The events of a record, with what repeats itself there as often as it came.
#pragma once

#include "sim/formats/json.h"
#include "sim/models/surroundings.h"

#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace k4sim {

// An event without its time, as one that comes again has it, too.
struct Happening {
    Json event;
    std::string text; // of one line, without time
};

struct Event {
    Microseconds t = 0;
    std::shared_ptr<const Happening> what;
};

// The events of an events.jsonl. A last line that is cut is left out. Throws std::runtime_error
// for what is none, and for more than five million events.
std::vector<Event> read_events(std::string_view text);

} // namespace k4sim
