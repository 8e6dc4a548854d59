#include "baselib/time/clock.h"

#include "baselib/thread/thread.h"

#include <atomic>
#include <climits>
#include <csignal>
#include <gtest/gtest.h>
#include <sys/time.h>
#include <sys/times.h>
#include <unistd.h>
#include <vector>

namespace {

constexpr long long tick_us = 10'000;
constexpr long ticksPerSecond = 100;

// The raw counts that times() returns, one after the other; the last one stays.
std::vector<int> rawTicks{0};
std::atomic<unsigned> nextTick{0};

} // namespace

// The linker puts these in the place of the C library's for the code under test alone
// (--wrap): the sanitizers' own calls, before they have started, stay as they are.
extern "C" clock_t __wrap_times(struct tms*) {
    const unsigned index = nextTick++;
    return index < rawTicks.size() ? rawTicks[index] : rawTicks.back();
}

extern "C" long __real_sysconf(int name);

extern "C" long __wrap_sysconf(int name) {
    return name == _SC_CLK_TCK ? ticksPerSecond : __real_sysconf(name);
}

namespace {

// The clock keeps its state, and each case needs the first reading of a process.
void expectReadings(const std::vector<int>& raw, const std::vector<long long>& ticks) {
    rawTicks = raw;
    nextTick = 0;
    for (const long long expected : ticks)
        if (const long long now_us = KLFnow(); now_us != expected * tick_us) {
            fprintf(stderr, "expected %lld, is %lld", expected * tick_us, now_us);
            exit(1);
        }
    exit(0);
}

TEST(ClockDeath, IsContinuousAcrossBothWraps) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    const long long turn = 1LL << 32;
    const struct {
        std::vector<int> raw;
        std::vector<long long> ticks;
    } cases[] = {
        {{0, 1, 1, 500}, {0, 1, 1, 500}},
        {{INT_MAX - 1, INT_MAX, INT_MIN, INT_MIN + 1},
         {INT_MAX - 1LL, INT_MAX, INT_MAX + 1LL, INT_MAX + 2LL}},
        {{INT_MAX, INT_MIN, -2, -1, 0, 1},
         {INT_MAX, INT_MAX + 1LL, turn - 2, turn - 1, turn, turn + 1}},
        {{5, INT_MIN, 6, INT_MIN + 9, 7},
         {5, turn / 2, turn + 6, turn + turn / 2 + 9, 2 * turn + 7}},
        // A count that is negative from the start is no wrap, nor is an error value.
        {{-3, -2, -1, 0, 1}, {-3, -2, -1, 0, 1}},
        {{-1, -1, 0}, {-1, -1, 0}},
        {{INT_MIN, INT_MIN + 1}, {INT_MIN, INT_MIN + 1LL}},
    };
    for (const auto& c : cases)
        EXPECT_EXIT(expectReadings(c.raw, c.ticks), testing::ExitedWithCode(0), "");
}

void ignoreSignal(int) {}

TEST(Delay, InterruptedByASignalReturnsTheRest) {
    struct sigaction action {};
    action.sa_handler = ignoreSignal;
    ASSERT_EQ(sigaction(SIGALRM, &action, nullptr), 0);
    // Repeats, so that a signal before the sleep has begun does no harm.
    const itimerval soon{{0, 20'000}, {0, 20'000}};
    const itimerval off{};
    ASSERT_EQ(setitimer(ITIMER_REAL, &soon, nullptr), 0);
    const long long left_us = KLFptdelay(60'000'000);
    ASSERT_EQ(setitimer(ITIMER_REAL, &off, nullptr), 0);
    EXPECT_GT(left_us, 0);
    EXPECT_LT(left_us, 60'000'000);
}

} // namespace
