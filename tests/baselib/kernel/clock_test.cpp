#include "baselib/time/clock.h"

#include "baselib/thread/thread.h"
#include "baselib/time/timer.h"

#include <atomic>
#include <climits>
#include <csignal>
#include <gtest/gtest.h>
#include <sys/times.h>
#include <unistd.h>
#include <vector>

namespace {

std::atomic<int> raw_ticks{0};
unsigned slept_us = 0;

} // namespace

// The linker puts these in the place of the C library's for the code under test alone
// (--wrap): the sanitizers' own calls, before they have started, stay as they are.
extern "C" clock_t __wrap_times(struct tms*) { return raw_ticks; }
extern "C" int __wrap_usleep(useconds_t us) { return slept_us = us, 0; }

namespace {

const long long tick_us = 1'000'000 / sysconf(_SC_CLK_TCK);

// Raw counts and what they are as ticks.
using Readings = std::vector<std::pair<int, long long>>;

void expect(const Readings& readings) {
    for (const auto& [raw, ticks] : readings) {
        raw_ticks = raw;
        if (KLFnow() != ticks * tick_us) exit(1);
    }
    exit(0);
}

// The clock keeps its state, and each case needs the first reading of a process.
TEST(ClockDeathTest, IsContinuousAcrossBothWraps) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    constexpr long long half = 1LL << 31;
    constexpr long long turn = 1LL << 32;
    const Readings cases[] = {
        {{0, 0}, {1, 1}, {1, 1}, {500, 500}},
        {{INT_MAX, half - 1}, {INT_MIN, half}, {-1, turn - 1}, {0, turn}, {1, turn + 1}},
        {{5, 5}, {INT_MIN, half}, {6, turn + 6}, {INT_MIN + 9, turn + half + 9}, {7, 2 * turn + 7}},
        // A count that is negative from the start is no wrap, nor is an error value.
        {{-3, -3}, {-1, -1}, {-1, -1}, {0, 0}, {1, 1}},
        {{INT_MIN, INT_MIN}, {INT_MIN + 1, INT_MIN + 1LL}},
    };
    for (const auto& readings : cases)
        EXPECT_EXIT(expect(readings), testing::ExitedWithCode(0), "");
}

TEST(Timer, CountsOnlyWhileItRunsAndOnFromZeroOnceCleared) {
    long long total_us = 7;
    {
        KLTtimer timer(&total_us, false);
        KLTtimer on(5'000'000LL, true);
        for (const bool runs : {false, true, true, false, false, true}) {
            runs ? timer.start() : timer.stop();
            raw_ticks += 10;
        }
        EXPECT_EQ(*timer, 30 * tick_us);
        EXPECT_EQ(total_us, 7);
        EXPECT_EQ(*on, 5'000'000 + 60 * tick_us);
        on.clear();
        raw_ticks += 3;
        EXPECT_EQ(*on, 3 * tick_us);
        EXPECT_EQ(*KLTtimer(0, false), 0);
    }
    EXPECT_EQ(total_us, 7 + 33 * tick_us) << "the target gets the total once, at the end";
}

TEST(Delay, SleepsTheLow32BitsOrTellsWhatASignalLeft) {
    for (const long long us : {0LL, 200'000LL, 1LL << 31, (1LL << 32) + 1'000}) {
        KLFdelay(us);
        EXPECT_EQ(slept_us, us & 0xFFFFFFFF);
    }
    EXPECT_EQ(KLFptdelay(0) | KLFptdelay(-1) | KLFptdelay(1), 0);
    std::signal(SIGALRM, [](int) {});
    ualarm(20'000, 20'000); // repeats: one before the sleep has begun does no harm
    const long long left_us = KLFptdelay(60'000'000);
    ualarm(0, 0);
    EXPECT_GT(left_us, 50'000'000);
    EXPECT_LT(left_us, 60'000'000);
}

} // namespace
