// What happens in other processes takes real time.
#pragma once

namespace k4sim {

// Whether the process has a child that it may wait for. What waits for signals then does so in
// real time, and so do timers that are set from then on.
bool has_child();

} // namespace k4sim
