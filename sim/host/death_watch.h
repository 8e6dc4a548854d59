// The program's death by a signal of its own making: reported before it comes.
#pragma once

#include <csignal>

namespace k4sim {

// Reports such deaths from now on. What the program or a sanitizer does about these signals
// stays: it is done after the report, or instead of it. A thread that has used up its stack
// dies unreported. SIGSEGV is the port trap's, which calls report_death().
void watch_for_death();

// The calling thread is about to die of the signal that a handler got this for.
void report_death(const siginfo_t& info, const void* context);

} // namespace k4sim
