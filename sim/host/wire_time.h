// The time records that cross the border to the program, by their layout in memory and
// not by libc's names, which mean different layouts in different programs.
#pragma once

#include <cstdint>

namespace k4sim {

// struct timespec (fraction: nanoseconds) and struct timeval (microseconds) in programs
// with plain times.
struct PlainTime {
    long seconds;
    long fraction;
};

#ifdef __i386__
// struct timespec in 32-bit programs with 64-bit times.
struct WideTime {
    std::int64_t seconds;
    long fraction;
    long padding;
};

// struct timeval in the same programs.
struct WideTimeval {
    std::int64_t seconds;
    std::int64_t fraction;
};
#endif

} // namespace k4sim
