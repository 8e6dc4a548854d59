// A debugger that looks at the program.
#pragma once

namespace k4sim {

// Waits until a debugger is attached and lets the process go on. A line on standard error
// tells how to attach one. No virtual time passes.
void stand_still();

// Whether a debugger is attached, or waited for.
bool is_debugged();

} // namespace k4sim
