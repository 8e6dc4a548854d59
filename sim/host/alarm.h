// The timer that every process has.
#pragma once

namespace k4sim {

// In the child of a fork: it was the parent's.
void forget_alarm();

} // namespace k4sim
