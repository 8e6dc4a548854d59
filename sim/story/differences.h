// Where two runs part.
#pragma once

#include <string>

namespace k4sim {

struct Differences {
    bool any = false;
    std::string text; // lines for people
};

// Of two records: the first different event, or picture, and verdict, rows and margins side by
// side. Throws std::runtime_error for a folder that is no record.
Differences differences_of(const std::string& first, const std::string& second);

} // namespace k4sim
