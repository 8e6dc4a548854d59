#include "sim/machine/machine.h"
#include "sim/time/scheduler.h"

#include <cerrno>
#include <ctime>
#include <functional>
#include <gtest/gtest.h>
#include <sys/time.h>
#include <sys/times.h>
#include <unistd.h>

using namespace k4sim;

namespace {

constexpr Microseconds second = 1'000'000;
constexpr Microseconds first_of_january_2026 = 1'767'225'600 * second;
constexpr Microseconds uptime = 100 * second;

Microseconds read_clock(clockid_t clock) {
    timespec time{};
    EXPECT_EQ(clock_gettime(clock, &time), 0);
    return time.tv_sec * second + time.tv_nsec / 1000;
}

TEST(Clock, EachLookAgreesWithAllOthersAndTakesAMicrosecond) {
    usleep(1'234'567);
    Microseconds now = scheduler().now();
    for (const clockid_t clock : {CLOCK_REALTIME, CLOCK_REALTIME_COARSE, CLOCK_TAI})
        EXPECT_EQ(read_clock(clock), first_of_january_2026 + ++now);
    for (const clockid_t clock :
         {CLOCK_MONOTONIC, CLOCK_MONOTONIC_RAW, CLOCK_MONOTONIC_COARSE, CLOCK_BOOTTIME})
        EXPECT_EQ(read_clock(clock), uptime + ++now);
    timeval day{};
    EXPECT_EQ(gettimeofday(&day, nullptr), 0);
    EXPECT_EQ(day.tv_sec * second + day.tv_usec, first_of_january_2026 + ++now);
    time_t copy = 0;
    EXPECT_EQ(time(&copy), (first_of_january_2026 + ++now) / second);
    EXPECT_EQ(copy, time(nullptr));
    tms used{};
    EXPECT_EQ(times(&used), (uptime + (now += 2)) / (second / sysconf(_SC_CLK_TCK)));
    EXPECT_EQ(scheduler().now(), now);
}

TEST(Clock, EverySleepTakesItsTime) {
    const timespec pause{1, 500'000'500}; // rounded up to whole microseconds
    const timespec wrong{0, 1'000'000'000};
    timespec goal{};
    const std::pair<std::function<int()>, Microseconds> sleeps[] = {
        {[] { return usleep(1500); }, 1500},
        {[] { return usleep(0); }, 0},
        {[] { return static_cast<int>(sleep(3)); }, 3 * second},
        {[&] { return nanosleep(&pause, nullptr); }, 1'500'001},
        {[&] { return clock_nanosleep(CLOCK_MONOTONIC, 0, &pause, nullptr); }, 1'500'001},
        {[&] { return nanosleep(&wrong, nullptr) + 1; }, 0},
        {[&] { return clock_nanosleep(CLOCK_MONOTONIC, 0, &wrong, nullptr) - EINVAL; }, 0},
    };
    for (const auto& [sleep_some, duration] : sleeps) {
        const Microseconds start = scheduler().now();
        EXPECT_EQ(sleep_some(), 0);
        EXPECT_EQ(scheduler().now(), start + duration);
    }
    for (const clockid_t clock : {CLOCK_REALTIME, CLOCK_MONOTONIC}) {
        ASSERT_EQ(clock_gettime(clock, &goal), 0);
        goal.tv_sec += 5;
        const Microseconds start = scheduler().now();
        for (int time = 0; time < 2; ++time) { // the second time it has passed
            EXPECT_EQ(clock_nanosleep(clock, TIMER_ABSTIME, &goal, nullptr), 0);
            EXPECT_EQ(scheduler().now(), start + 5 * second);
        }
    }
}

} // namespace
