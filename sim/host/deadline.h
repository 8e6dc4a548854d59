// Points in time as the program's calls give them, as virtual time.
#pragma once

#include "sim/host/clocks.h"
#include "sim/time/scheduler.h"

namespace k4sim {

template <typename Time>
bool valid_fraction(const Time& time) {
    return time.fraction >= 0 && time.fraction < ns_per_second;
}

// Whether the time can be that of a span.
template <typename Time>
bool valid_span(const Time& time) {
    return time.seconds >= 0 && valid_fraction(time);
}

// Of a wait that ends after the span, or has no end: null.
template <typename Time>
Microseconds deadline_after(const Time* time) {
    return time == nullptr ? never : virtual_time_after(span_us(time->seconds, time->fraction));
}

// The same in milliseconds; below zero: no end.
inline Microseconds deadline_after_ms(int ms) {
    return ms < 0 ? never : virtual_time_after(ms * Microseconds{1000});
}

// Of a clock that clock_start() knows.
template <typename Time>
Microseconds deadline_of(clockid_t clock, const Time& time) {
    return virtual_time(*clock_start(clock), time.seconds, time.fraction);
}

} // namespace k4sim
