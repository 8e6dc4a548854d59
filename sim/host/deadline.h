// Points in time as the program's calls give them, as virtual time.
#pragma once

#include "sim/host/clocks.h"

namespace k4sim {

template <typename Time>
bool valid_fraction(const Time& time) {
    return time.fraction >= 0 && time.fraction < ns_per_second;
}

// Of a clock that clock_start() knows.
template <typename Time>
Microseconds deadline_of(clockid_t clock, const Time& time) {
    return virtual_time(*clock_start(clock), time.seconds, time.fraction);
}

} // namespace k4sim
