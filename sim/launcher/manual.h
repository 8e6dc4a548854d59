// The parts of the documents that tell what k4sim can be called for, written from the table of
// commands.
#pragma once

#include <string>

namespace k4sim {

// Topic: "options" of a run, every other command, "commands", or "examples" of all of them, for
// the format "man" or "markdown"; empty when there is no such text.
std::string manual_part(const std::string& format, const std::string& topic);

} // namespace k4sim
