// What k4sim was called for: run, check, faults, keys or help.
#pragma once

namespace k4sim {

// Takes what main() is given. Returns the exit status, as the README lists it; an error was said
// on standard error.
int carry_out(int argc, char** argv);

} // namespace k4sim
