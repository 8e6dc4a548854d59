// Virtual time: the scheduler, and the clocks and sleeps of a program.
#include "sim/time/scheduler.h"

#include <cerrno>
#include <ctime>
#include <dlfcn.h>
#include <functional>
#include <gtest/gtest.h>
#include <sched.h>
#include <sys/syscall.h>
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
    const auto sleep_till = [&](clockid_t clock, time_t time) {
        if (time > 0) clock_gettime(clock, &goal);
        goal.tv_sec += time;
        return clock_nanosleep(clock, TIMER_ABSTIME, &goal, nullptr);
    };
    const std::pair<std::function<int()>, Microseconds> sleeps[] = {
        {[] { return usleep(1500); }, 1500},
        {[] { return sched_yield(); }, 1},
        {[] { return static_cast<int>(sleep(3)); }, 3 * second},
        {[&] { return nanosleep(&pause, nullptr); }, 1'500'001},
        {[&] { return clock_nanosleep(CLOCK_MONOTONIC, 0, &pause, nullptr); }, 1'500'001},
        {[&] { return nanosleep(&wrong, nullptr) + 1; }, 0},
        {[&] { return clock_nanosleep(CLOCK_MONOTONIC, 0, &wrong, nullptr) - EINVAL; }, 0},
        {[&] { return sleep_till(CLOCK_REALTIME, 5); }, 5 * second + 1},
        {[&] { return sleep_till(CLOCK_MONOTONIC, 5); }, 5 * second + 1},
        {[&] { return sleep_till(CLOCK_MONOTONIC, 0); }, 0}, // it has passed
    };
    for (const auto& [sleep_some, duration] : sleeps) {
        const Microseconds start = scheduler().now();
        EXPECT_EQ(sleep_some(), 0);
        EXPECT_EQ(scheduler().now(), start + duration);
    }
}

// The names that a program with plain times calls, in place of those with 64-bit times.
TEST(Clock, PlainTimesPassTheSame) {
    long time[2] = {};
    const auto call = [](const char* name, auto... arguments) {
        return reinterpret_cast<int (*)(decltype(arguments)...)>(dlsym(RTLD_DEFAULT, name))(
            arguments...);
    };
    const Microseconds start = scheduler().now();
    EXPECT_EQ(call("clock_gettime", CLOCK_MONOTONIC, time), 0);
    EXPECT_EQ(time[0] * second + time[1] / 1000, uptime + start + 1);
    EXPECT_EQ(call("gettimeofday", time, nullptr), 0);
    EXPECT_EQ(time[0] * second + time[1], first_of_january_2026 + start + 2);
    EXPECT_EQ(call("time", nullptr), time[0]);
    long half[2] = {0, 500'000'000};
    EXPECT_EQ(call("nanosleep", half, nullptr), 0);
    EXPECT_EQ(call("clock_nanosleep", CLOCK_MONOTONIC, 0, half, nullptr), 0);
    half[1] /= 1000; // microseconds
    EXPECT_EQ(call("select", 0, nullptr, nullptr, nullptr, half), 0);
    EXPECT_EQ(half[1], 0);
    EXPECT_EQ(scheduler().now(), start + 1'500'003);
}

TEST(Scheduler, TimersRunInOrderOfTimeThenOfArrivalEachAtItsOwnTime) {
    const Microseconds start = scheduler().now();
    std::string seen;
    for (const auto& [name, when] : {std::pair{'d', 30}, {'b', 20}, {'c', 20}, {'a', -10}})
        scheduler().at(start + when,
                       [&, name] { seen += name + std::to_string(scheduler().now() - start); });
    scheduler().spend(29);
    EXPECT_EQ(seen, "a0b20c20");
    EXPECT_EQ(scheduler().now(), start + 29);
    scheduler().wait(nullptr, start + 100);
    EXPECT_EQ(seen, "a0b20c20d30");
}

TEST(Scheduler, AWokenThreadMayWaitAgainWithoutItsFormerDeadline) {
    int object = 0;
    const Microseconds start = scheduler().now();
    scheduler().at(start + 10, [&] { scheduler().wake_all(&object); });
    EXPECT_EQ(scheduler().wait(&object, start + 100), WakeReason::woken);
    EXPECT_EQ(scheduler().now(), start + 10);
    EXPECT_EQ(scheduler().wait(&object, start + 1000), WakeReason::timed_out);
    EXPECT_EQ(scheduler().now(), start + 1000);
}

// The system's own clock, past the stand-ins.
Microseconds real_now() {
    long time[2];
    syscall(SYS_clock_gettime, CLOCK_MONOTONIC, time);
    return time[0] * second + time[1] / 1000;
}

TEST(Scheduler, PaceHoldsTheClockToRealTime) {
    const Microseconds real_start = real_now();
    const Microseconds start = scheduler().now();
    // Beyond the end of a second, where a clock's fraction begins anew.
    const Microseconds goal = (real_start / second + 1) * second + 100'000;
    scheduler().set_pace(200.0);
    while (real_now() < goal)
        scheduler().wait(nullptr, scheduler().now() + 100'000);
    scheduler().set_pace(std::nullopt);
    const Microseconds real = real_now() - real_start;
    EXPECT_LE(scheduler().now() - start, (real + 2000) * 200); // a lead of a millisecond or two
    EXPECT_LT(real, 5 * second);
}

} // namespace
