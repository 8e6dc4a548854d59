// What a run shows of a fault to those who see only the rows, the console and what was measured.
#pragma once

#include "sim/formats/json.h"
#include "sim/story/page.h"

#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace k4sim {

// One thing that was seen. `what` is its kind and, behind a blank, what it is of:
//   "row AnalogAudio"    the last text of a status row
//   "course Ethernet"    a text that stood there at some time, the last one among them
//   "line"               a kind of line on the console
//   "missed good sweeps" a limit that was missed, and by how much
//   "verdict"
struct Sign {
    std::string what;
    std::string text;

    auto operator<=>(const Sign&) const = default;
};

struct Symptoms {
    std::vector<Sign> signs;       // sorted, each once
    std::vector<std::string> told; // what could be seen at all: a `what`, or all of a kind

    bool tells(const std::string& what) const;
    // The row's last text; null: it is not told.
    const std::string* row(std::string_view label) const;
    // A device that shows these has nothing to look for: rows are told, and none of them stands at
    // anything but "OK" or at nothing, which a row does whose hardware is not there.
    bool nothing_failed() const;
};

// Of a record, of a run that was just seen, or of a saved console. What is told of faults in it is
// not looked at.
Symptoms symptoms_of(const Telling& telling);

// Of rows alone, each a label and its text.
Symptoms symptoms_of_rows(const std::vector<std::pair<std::string, std::string>>& rows);

// A list of pairs, and back: of a whole record. Empty when it is no such list.
Json as_json(const std::vector<Sign>& signs);
Symptoms symptoms_from(const std::vector<Json>& list);

// The text with # for each number that was measured or counted, and these numbers. A number with
// four digits and no point is a name, such as a rate, as is one that is all there is.
struct Shaped {
    std::string shape;
    std::vector<double> numbers;
};
Shaped shaped(std::string_view text);

// From 0 to 1: how alike two texts are. Texts of one shape are as alike as their numbers are near.
double likeness(const Shaped& one, const Shaped& other);

} // namespace k4sim
