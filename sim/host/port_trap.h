// The program's port instructions. Without I/O privilege in the real processor each of
// them raises SIGSEGV; the handler carries it out on the virtual K/4 and steps over it.
#pragma once

namespace k4sim {

// Puts the handler in place. A port instruction that is not played (see unplayed.h) ends the
// process. Whatever is no port instruction goes the way it would have gone without: to the
// handler that was there before, or to the death of the process.
void install_port_trap();

} // namespace k4sim
