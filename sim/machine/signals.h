// Signals that come from outside the program: from its terminal, or from who ends it.
#pragma once

#include <string_view>

namespace k4sim {

// Sends INT, TERM or HUP to the process.
void send_signal(std::string_view name);

} // namespace k4sim
