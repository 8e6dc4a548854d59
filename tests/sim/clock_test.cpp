#include "sim/machine/machine.h"
#include "sim/time/scheduler.h"

#include <ctime>
#include <gtest/gtest.h>
#include <sys/time.h>
#include <sys/times.h>
#include <unistd.h>

using namespace k4sim;

namespace {

constexpr Microseconds first_of_january_2026 = 1'767'225'600'000'000;

Microseconds read_clock(clockid_t clock) {
    timespec time{};
    EXPECT_EQ(clock_gettime(clock, &time), 0);
    return time.tv_sec * Microseconds{1'000'000} + time.tv_nsec / 1000;
}

TEST(Clock, WallClocksAgree) {
    const Microseconds expected = first_of_january_2026 + scheduler().now();
    EXPECT_EQ(read_clock(CLOCK_REALTIME), expected + 1);
    timeval day{};
    EXPECT_EQ(gettimeofday(&day, nullptr), 0);
    EXPECT_EQ(day.tv_sec * Microseconds{1'000'000} + day.tv_usec, expected + 2);
    time_t copy = 0;
    EXPECT_EQ(time(&copy), (expected + 3) / 1'000'000);
    EXPECT_EQ(copy, (expected + 3) / 1'000'000);
    EXPECT_EQ(scheduler().now(), expected + 3 - first_of_january_2026);
}

TEST(Clock, MonotonicClocksAgreeAndDoNotBeginAtZero) {
    const Microseconds now = read_clock(CLOCK_MONOTONIC);
    EXPECT_EQ(read_clock(CLOCK_BOOTTIME), now + 1);
    EXPECT_EQ(read_clock(CLOCK_MONOTONIC_RAW), now + 2);
    EXPECT_GT(now - scheduler().now(), 1'000'000);
}

TEST(Clock, TimesCountsHundredTicksASecond) {
    ASSERT_EQ(sysconf(_SC_CLK_TCK), 100);
    tms used{};
    const clock_t before = times(&used);
    usleep(1'230'000);
    EXPECT_EQ(times(nullptr) - before, 123);
    EXPECT_EQ(before, static_cast<clock_t>((read_clock(CLOCK_MONOTONIC) - 1'230'002) / 10'000));
}

TEST(Clock, EverySleepTakesItsTime) {
    Microseconds expected = scheduler().now();
    usleep(1500);
    EXPECT_EQ(scheduler().now(), expected += 1500);
    sleep(3);
    EXPECT_EQ(scheduler().now(), expected += 3'000'000);
    const timespec pause{1, 500'000'500}; // rounded up to whole microseconds
    EXPECT_EQ(nanosleep(&pause, nullptr), 0);
    EXPECT_EQ(scheduler().now(), expected += 1'500'001);
    EXPECT_EQ(clock_nanosleep(CLOCK_MONOTONIC, 0, &pause, nullptr), 0);
    EXPECT_EQ(scheduler().now(), expected += 1'500'001);
    usleep(0);
    EXPECT_EQ(scheduler().now(), expected);
}

TEST(Clock, SleepToAPointInTime) {
    const Microseconds start = scheduler().now();
    timespec goal{};
    for (const clockid_t clock : {CLOCK_REALTIME, CLOCK_MONOTONIC}) {
        const Microseconds before = scheduler().now();
        ASSERT_EQ(clock_gettime(clock, &goal), 0);
        goal.tv_sec += 5;
        EXPECT_EQ(clock_nanosleep(clock, TIMER_ABSTIME, &goal, nullptr), 0);
        EXPECT_EQ(scheduler().now(), before + 5'000'001);
        EXPECT_EQ(clock_nanosleep(clock, TIMER_ABSTIME, &goal, nullptr), 0); // has passed
    }
    EXPECT_EQ(scheduler().now(), start + 10'000'002);
}

} // namespace
