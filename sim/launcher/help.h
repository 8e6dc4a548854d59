// What k4sim tells of its own use.
#pragma once

#include <string>

namespace k4sim {

// What there is to call it for; with the name of a command: that command alone, with its options
// and examples.
std::string help(const std::string& topic);

} // namespace k4sim
