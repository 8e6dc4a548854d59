#include "baselib/time/clock.h"

#include <atomic>
#include <cstdint>
#include <limits>
#include <sys/times.h>
#include <unistd.h>

namespace {

constexpr auto relaxed = std::memory_order_relaxed;
constexpr int64_t microsecondsPerSecond = 1'000'000;
constexpr int64_t wrap = int64_t{1} << 32;
constexpr int64_t noReading = std::numeric_limits<int64_t>::min();

// The last reading: the high part plus the raw tick count, sign-extended. Its low 32 bits
// are the raw count, so one word holds both and is replaced in one step: threads that
// read the clock at the same time can't take each other's tick for a wrap.
constinit std::atomic<int64_t> lastReading{noReading};

int64_t tick_us() {
    static const int64_t tick = microsecondsPerSecond / sysconf(_SC_CLK_TCK);
    return tick;
}

// The wrap is noticed at the signed boundary, which together with the sign extension
// keeps the count continuous at 2^31 and at 2^32.
int64_t nextReading(int64_t last, int32_t raw) {
    if (last == noReading) return raw;
    const auto lastRaw = static_cast<int32_t>(last);
    const int64_t highPart = last - lastRaw + (raw < lastRaw ? wrap : 0);
    return highPart + raw;
}

} // namespace

long long KLFnow() {
    int64_t last = lastReading.load(relaxed);
    int64_t next;
    do
        next = nextReading(last, static_cast<int32_t>(times(nullptr)));
    while (!lastReading.compare_exchange_weak(last, next, relaxed));
    return next * tick_us();
}

void KLFdelay(long long microseconds) { usleep(static_cast<uint32_t>(microseconds)); }
