// What a program may do to ports and the virtual device does not play: port instructions other
// than those of one byte, ioperm, and any without I/O privilege.
#pragma once

#include <cstdint>

namespace k4sim {

// What the code is, if it is a port instruction, for end_unplayed(); else null. `privileged`:
// the thread has I/O privilege.
const char* unplayed_port_access(const std::uint8_t* code, bool privileged);

// Ends the process: a line on standard error tells what it was, which thread, and where.
[[noreturn]] void end_unplayed(const char* what, const void* address);

} // namespace k4sim
