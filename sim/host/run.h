// A run under the launcher, from the loading of the library to the end of the process,
// and the ends that a process can't come to by itself.
#pragma once

namespace k4sim {

// Ends the process at once: console flushed, the reason reported, the picture that is on
// the glass recorded.
[[noreturn]] void end_process(int status, const char* reason);

// No thread can ever run again.
inline constexpr int status_deadlock = 125;
// Virtual time no longer passes.
inline constexpr int status_stalled = 125;
// The virtual time allowed for the run is over.
inline constexpr int status_limit = 124;
// The run came to the place where it was to stop.
inline constexpr int status_stopped = 123;

} // namespace k4sim
