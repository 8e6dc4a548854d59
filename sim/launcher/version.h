#pragma once

namespace k4sim {

// What k4sim --version tells: one line.
extern const char* const version_line;

} // namespace k4sim
