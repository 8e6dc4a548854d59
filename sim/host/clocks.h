// The clocks of the virtual K/4. They differ only in where they started, and all move
// with virtual time.
#pragma once

#include "sim/models/surroundings.h"

#include <cstdint>
#include <ctime>
#include <optional>

namespace k4sim {

inline constexpr std::int64_t ns_per_second = 1'000'000'000;

// The unit of times(): sysconf(_SC_CLK_TCK) is 100 on Linux.
inline constexpr Microseconds us_per_tick = 10'000;

// What a clock of the virtual K/4 shows at virtual time 0: the wall clock
// 2026-01-01 00:00 UTC, the others an uptime of 100 s. Empty for a clock that counts
// processor time: such a clock is the real one.
std::optional<Microseconds> clock_start(clockid_t clock);

// What the clock shows now. Looking at it takes access_us.
Microseconds look_at_clock(Microseconds start);

// A point in time of the clock as virtual time; one before the start of time is in the
// past, one beyond its end is never.
Microseconds virtual_time(Microseconds clock_start, std::int64_t seconds, std::int64_t nanoseconds);

// A span in microseconds, rounded up; `never` when it is too long to count.
Microseconds span_us(std::int64_t seconds, std::int64_t nanoseconds);

// Now plus the span, or never.
Microseconds virtual_time_after(Microseconds span);

// Into the record that the program wants it in: its fraction in nanoseconds (ns_per_us) or
// microseconds (1).
template <typename Time>
void store(Time& time, Microseconds us, std::int64_t fractions_per_us) {
    using Seconds = decltype(time.seconds);
    using Fraction = decltype(time.fraction);
    time.seconds = static_cast<Seconds>(us / us_per_second);
    time.fraction = static_cast<Fraction>(us % us_per_second * fractions_per_us);
}

// Sleeps until a virtual time: 0, or EINTR when a signal was handled before. A cancellation point.
int sleep_until(Microseconds when);

} // namespace k4sim
