// The place of the library among those of the process.
#pragma once

namespace k4sim {

// A sanitizer's runtime that a program is linked with comes before libk4sim.so, and
// waits in its own thread creation until the new thread runs, which here it must not
// yet. Preloaded, the library comes first. So when it is not first, this executes the
// program anew with the library preloaded; else it returns.
void put_in_front(char** arguments);

} // namespace k4sim
