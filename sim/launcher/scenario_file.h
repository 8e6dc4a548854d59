// The text of a scenario, whatever kind of file it stands in.
#pragma once

#include <string>

namespace k4sim {

// `path`: "-" is standard input. A pipe is read to its end. Throws UsageError for what can't be
// read, is longer than 1 MiB, or is a named pipe that nobody writes to.
std::string read_scenario_file(const std::string& path);

} // namespace k4sim
