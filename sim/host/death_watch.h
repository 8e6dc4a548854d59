// The program's death by a signal, of its own making or sent: reported before it comes.
#pragma once

#include <csignal>

namespace k4sim {

// Reports such deaths from now on. What the program or a sanitizer does about these signals
// stays: it is done after the report, or instead of it. SIGSEGV is the port trap's, which calls
// report_death(). A thread that has used up its stack needs a SignalStack for that.
void watch_for_death();

// Whether the action is that of the watch, where the program has the default.
bool is_death_watch(const struct sigaction& action);

// The program has set the signal to its default: watches for it again.
void watch_default(int signal);

// The calling thread is about to die of the signal that a handler got this for.
void report_death(const siginfo_t& info, const void* context);

} // namespace k4sim
