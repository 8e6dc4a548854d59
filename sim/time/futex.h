// Hand-over between threads by raw futex calls. A sanitizer follows pthread functions
// and instrumented atomics; of these calls, from code that is not instrumented, it sees
// nothing.
#pragma once

#include <atomic>

namespace k4sim {

// Gives the permit to the thread that waits for it.
void give_permit(std::atomic<int>& permit);

// Waits for the permit and takes it.
void take_permit(std::atomic<int>& permit);

} // namespace k4sim
