#include "sim/time/scheduler.h"

#include "program_threads.h"

#include <gmock/gmock.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace k4sim;
using testing::ElementsAre;

namespace {

TEST(Scheduler, TimersRunInOrderOfTimeThenOfArrival) {
    const Microseconds start = scheduler().now();
    std::vector<std::pair<char, Microseconds>> seen;
    const auto note = [&](char name) { seen.emplace_back(name, scheduler().now() - start); };
    scheduler().at(start + 30, [&] { note('d'); });
    scheduler().at(start + 20, [&] { note('b'); });
    scheduler().at(start + 20, [&] { note('c'); });
    scheduler().at(start - 10, [&] { note('a'); });
    scheduler().wait(nullptr, start + 100);
    using Seen = std::pair<char, Microseconds>;
    EXPECT_THAT(seen, ElementsAre(Seen('a', 0), Seen('b', 20), Seen('c', 20), Seen('d', 30)));
}

TEST(Scheduler, SpendRunsTimersOnTheWayAtTheirOwnTime) {
    const Microseconds start = scheduler().now();
    std::vector<Microseconds> seen;
    for (const Microseconds when : {7, 3, 5})
        scheduler().at(start + when, [&] { seen.push_back(scheduler().now() - start); });
    scheduler().spend(6);
    EXPECT_THAT(seen, ElementsAre(3, 5));
    EXPECT_EQ(scheduler().now() - start, 6);
    scheduler().spend(1);
    EXPECT_THAT(seen, ElementsAre(3, 5, 7));
}

TEST(Scheduler, ThreadsThatComputeTakeTurnsByTheSlice) {
    for (const auto& [step_us, expected] :
         {std::pair{slice_us, "ababab"}, {slice_us / 4, "aaabbb"}}) {
        SharedText order;
        const auto compute = [&order, step = step_us](char name) {
            for (int i = 0; i < 3; ++i) {
                order.add(name);
                scheduler().spend(step);
            }
        };
        ProgramThread a([&] { compute('a'); });
        ProgramThread b([&] { compute('b'); });
        a.join();
        b.join();
        EXPECT_EQ(order.get(), expected);
    }
}

TEST(Scheduler, WakeOneTakesWhoHasWaitedLongest) {
    int object = 0;
    SharedText order;
    const auto wait = [&](char name) {
        EXPECT_EQ(scheduler().wait(&object, never), WakeReason::woken);
        order.add(name);
    };
    ProgramThread a([&] { wait('a'); });
    ProgramThread b([&] { wait('b'); });
    scheduler().wait(nullptr, scheduler().now() + 1);
    scheduler().wake_one(&object);
    scheduler().wait(nullptr, scheduler().now() + 1);
    EXPECT_EQ(order.get(), "a");
    scheduler().wake_all(&object);
    b.join();
    EXPECT_EQ(order.get(), "ab");
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

TEST(Scheduler, PrivilegeIsInheritedAtCreation) {
    Thread& self = *Scheduler::current();
    bool before = true;
    bool after = false;
    self.io_privilege = false;
    ProgramThread first([&] { before = Scheduler::current()->io_privilege; });
    self.io_privilege = true;
    ProgramThread second([&] { after = Scheduler::current()->io_privilege; });
    first.join();
    second.join();
    self.io_privilege = false;
    EXPECT_FALSE(before);
    EXPECT_TRUE(after);
}

TEST(Scheduler, TheChildOfAForkHasOnlyTheCaller) {
    int object = 0;
    ProgramThread other([&] { scheduler().wait(&object, never); });
    scheduler().wait(nullptr, scheduler().now() + 1);
    const pid_t child = fork();
    if (child == 0) {
        // The other thread is not there to run meanwhile, or when it is woken.
        scheduler().wake_all(&object);
        scheduler().wait(nullptr, scheduler().now() + 1000);
        _exit(42);
    }
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_TRUE(WIFEXITED(status));
    EXPECT_EQ(WEXITSTATUS(status), 42);
    scheduler().wake_all(&object);
}

TEST(SchedulerDeathTest, NothingThatCanEverRunEndsTheProcess) {
    int object = 0;
    const auto lock_up = [&] {
        std::function<void()> tick = [&] { scheduler().at(scheduler().now() + 10, tick); };
        tick(); // a device that goes on for ever changes nothing about it
        scheduler().wait(&object, never);
    };
    EXPECT_EXIT(lock_up(), testing::ExitedWithCode(125), "deadlock");
}

// The system's own clock, past the stand-ins.
Microseconds real_now() {
    struct {
        long seconds, nanoseconds;
    } time{};
    syscall(SYS_clock_gettime, CLOCK_MONOTONIC, &time);
    return time.seconds * Microseconds{1'000'000} + time.nanoseconds / 1000;
}

TEST(Scheduler, PaceHoldsTheClockBack) {
    const Microseconds real_start = real_now();
    const Microseconds start = scheduler().now();
    scheduler().set_pace(200.0);
    for (int step = 0; step < 100; ++step)
        scheduler().wait(nullptr, start + step * 100'000);
    scheduler().set_pace(std::nullopt);
    // Ten virtual seconds take 50 ms; a lead of up to a millisecond is allowed.
    EXPECT_GE(real_now() - real_start, 48'000);
}

} // namespace
