#include "sim/host/clocks.h"

#include "sim/host/threads.h"
#include "sim/machine/machine.h"
#include "sim/time/scheduler.h"

#include <algorithm>
#include <cerrno>

namespace k4sim {

namespace {

constexpr Microseconds wall_start = 1'767'225'600 * us_per_second;
constexpr Microseconds uptime_start = 100 * us_per_second;
constexpr std::int64_t most_seconds = never / us_per_second - 1;

} // namespace

std::optional<Microseconds> clock_start(clockid_t clock) {
    switch (clock) {
    case CLOCK_REALTIME:
    case CLOCK_REALTIME_COARSE:
    case CLOCK_REALTIME_ALARM:
    case CLOCK_TAI:
        return wall_start;
    case CLOCK_MONOTONIC:
    case CLOCK_MONOTONIC_RAW:
    case CLOCK_MONOTONIC_COARSE:
    case CLOCK_BOOTTIME:
    case CLOCK_BOOTTIME_ALARM:
        return uptime_start;
    default:
        return std::nullopt;
    }
}

Microseconds look_at_clock(Microseconds start) {
    scheduler().spend(access_us);
    return start + scheduler().now();
}

Microseconds virtual_time(Microseconds clock_start, std::int64_t seconds,
                          std::int64_t nanoseconds) {
    const Microseconds time = span_us(seconds, nanoseconds);
    return time == never ? never : std::max<Microseconds>(time - clock_start, 0);
}

Microseconds span_us(std::int64_t seconds, std::int64_t nanoseconds) {
    if (seconds < 0) return 0;
    if (seconds > most_seconds) return never;
    return seconds * us_per_second + (nanoseconds + ns_per_us - 1) / ns_per_us;
}

Microseconds virtual_time_after(Microseconds span) {
    const Microseconds now = scheduler().now();
    return span > never - now ? never : now + span;
}

int sleep_until(Microseconds when) {
    const WakeReason reason = wait_cancellable(nullptr, when);
    return is_by_signal(reason) && scheduler().now() < when ? EINTR : 0;
}

} // namespace k4sim
