// A debugger that looks at the program.
#pragma once

namespace k4sim {

// Stops the process until a debugger, or a signal CONT, lets it go on. A line on standard error
// tells how to attach one. No virtual time passes.
void stand_still();

// Whether a debugger, or whatever else traces processes, is attached.
bool is_traced();

} // namespace k4sim
