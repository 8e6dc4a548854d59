// The timers of the program that send a signal of its choice.
#pragma once

namespace k4sim {

// In the child of a fork: they were the parent's.
void forget_signal_timers();

} // namespace k4sim
