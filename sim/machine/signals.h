// Signals that come from outside the program: from its terminal, or from who ends it.
#pragma once

#include <string_view>

namespace k4sim {

// Sends INT, TERM or HUP to the process, and wakes who waits for a signal.
void send_signal(std::string_view name);

// What a thread that waits for a signal waits on (Scheduler::wait).
const void* signal_arrival();

} // namespace k4sim
