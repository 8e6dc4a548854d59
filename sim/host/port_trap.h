// The program's port instructions. Without I/O privilege in the real processor each of
// them raises SIGSEGV; the handler carries it out on the virtual K/4 and steps over it.
#pragma once

namespace k4sim {

// Puts the handler in place. Whatever is no byte-wide port instruction, or comes from a
// thread that did not get I/O privilege from iopl, goes the way it would have gone
// without: to the handler that was there before, or to the death of the process.
void install_port_trap();

} // namespace k4sim
