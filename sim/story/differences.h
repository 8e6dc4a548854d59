// Where two runs part.
#pragma once

#include "sim/story/tolerance.h"

#include <optional>
#include <string>

namespace k4sim {

struct Differences {
    bool any = false;
    std::string text; // lines for people
};

// Of two records: the first different event, or picture, and verdict, rows and margins side by
// side. With a tolerance, which of these, and of the times of the last texts, differ by more than
// that; events and pictures are left out, since in real time no two runs have the same. Throws
// std::runtime_error for a folder that is no record.
Differences differences_of(const std::string& first, const std::string& second,
                           const std::optional<Tolerance>& tolerance = {});

} // namespace k4sim
