#pragma once
// Microseconds as the kernel's calls take them.

#include <ctime>

inline constexpr long long microsecondsPerSecond = 1'000'000;
inline constexpr long nanosecondsPerMicrosecond = 1'000;

// us: 0 or more; up to the range of time_t in seconds.
inline timespec timespecOf(long long us) {
    timespec time{};
    time.tv_sec = static_cast<time_t>(us / microsecondsPerSecond);
    time.tv_nsec = static_cast<long>(us % microsecondsPerSecond) * nanosecondsPerMicrosecond;
    return time;
}
