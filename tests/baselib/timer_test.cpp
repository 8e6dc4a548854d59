#include "baselib/time/timer.h"

#include "baselib/time/clock.h"

#include <gtest/gtest.h>

namespace {

// KLFnow counts in ticks: a measured time may be one off at either end.
constexpr long long tick_us = 10'000;

TEST(Clock, AdvancesWithTheDelay) {
    const long long before_us = KLFnow();
    KLFdelay(200'000);
    const long long took_us = KLFnow() - before_us;
    EXPECT_GE(took_us, 200'000 - tick_us);
    EXPECT_LE(took_us, 200'000 + 20 * tick_us);
}

TEST(Clock, DelayTakesTheLow32Bits) {
    const long long before_us = KLFnow();
    KLFdelay((1LL << 32) + 1'000);
    EXPECT_LE(KLFnow() - before_us, 20 * tick_us);
}

TEST(Timer, CountsOnlyWhileItRuns) {
    KLTtimer timer(true);
    KLFdelay(100'000);
    timer.stop();
    const long long stopped_us = *timer;
    EXPECT_GE(stopped_us, 100'000 - tick_us);
    KLFdelay(100'000);
    EXPECT_EQ(*timer, stopped_us);
    timer.stop();
    EXPECT_EQ(*timer, stopped_us);
    timer.start();
    KLFdelay(100'000);
    timer.start();
    EXPECT_GE(*timer, stopped_us + 100'000 - tick_us);
}

TEST(Timer, ClearStartsAgainFromZero) {
    KLTtimer stopped(5'000'000LL, false);
    EXPECT_EQ(*stopped, 5'000'000);
    stopped.clear();
    EXPECT_EQ(*stopped, 0);
    KLTtimer running(0, true);
    KLFdelay(300'000);
    running.clear();
    EXPECT_LT(*running, 300'000 - tick_us);
    KLFdelay(100'000);
    EXPECT_GE(*running, 100'000 - tick_us);
}

TEST(Timer, TargetGetsTheTotalOnceAtTheEnd) {
    long long total_us = 7;
    {
        KLTtimer timer(&total_us, true);
        KLFdelay(50'000);
        timer.stop();
        timer.start();
        KLFdelay(50'000);
        EXPECT_EQ(total_us, 7);
    }
    EXPECT_GE(total_us, 7 + 100'000 - 2 * tick_us);
    EXPECT_LE(total_us, 7 + 100'000 + 20 * tick_us);
}

} // namespace
