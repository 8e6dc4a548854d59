#include "app/unit.h"

#include "baselib/thread/mutex.h"
#include "characters.h"

#include <gtest/gtest.h>
#include <string>

namespace {

constexpr long long poll_us = 1'000;

class Unit : public testing::Test {
protected:
    Unit() { KLFptcreatemain("PT-Main"); }
};

// Runs until it is asked to stop.
class PatientUnit : public K4unit<PatientUnit> {
public:
    ~PatientUnit() { end(); }
    KLTastr info() override { return running() ? "running" : "idle"; }
    void prepare() { ++preparations; }
    void tfunc() {
        ++runs;
        while (!stopRequested())
            KLFptdelay(poll_us);
    }

    int preparations = 0;
    std::atomic<int> runs{0};
};

TEST_F(Unit, StartsOneThreadAndStopsWhenAsked) {
    PatientUnit unit;
    EXPECT_EQ(unit.start(true), 0);
    EXPECT_EQ(unit.start(true), 0);
    EXPECT_EQ(characters(unit.info()), "running");
    while (unit.runs == 0)
        KLFptdelay(poll_us);
    EXPECT_FALSE(unit.stopRequested());
    EXPECT_EQ(unit.start(false), 0);
    EXPECT_TRUE(unit.stopRequested());
    unit.waitend();
    EXPECT_EQ(characters(unit.info()), "idle");
    EXPECT_EQ(unit.preparations, 1);
    EXPECT_EQ(unit.runs, 1);
}

TEST_F(Unit, StopRequestReachesOnlyARunningTest) {
    struct Brief : K4unit<Brief> {
        ~Brief() { end(); }
        KLTastr info() override { return running() ? "running" : "idle"; }
        void tfunc() { ++runs; }
        int runs = 0;
    } unit;
    EXPECT_EQ(unit.start(false), 0);
    EXPECT_FALSE(unit.stopRequested());
    for (int run = 1; run <= 2; ++run) {
        ASSERT_EQ(unit.start(true), 0);
        while (characters(unit.info()) == "running")
            KLFptdelay(poll_us);
        EXPECT_EQ(unit.start(false), 0);
        EXPECT_FALSE(unit.stopRequested());
        unit.waitend();
        EXPECT_EQ(unit.runs, run);
    }
}

// Works on its own members and on a shared mutex, and never looks at the stop request.
class StubbornUnit : public K4unit<StubbornUnit> {
public:
    StubbornUnit(KLTptmutex& mutex, std::atomic<bool>& works) : mutex_(mutex), works_(works) {}
    ~StubbornUnit() { end(); }
    KLTastr info() override { return "busy"; }
    void tfunc() {
        for (;;) {
            const KLTptmutexHold hold(mutex_);
            own_ += "x";
            works_ = true;
            KLFptnow(); // time goes on, where it is virtual
            pthread_testcancel();
        }
    }

private:
    KLTptmutex& mutex_;
    std::atomic<bool>& works_;
    std::string own_;
};

TEST_F(Unit, DestructionEndsARunningTestAndFreesWhatItHeld) {
    KLTptmutex mutex;
    std::atomic<bool> works{false};
    {
        StubbornUnit unit(mutex, works);
        ASSERT_EQ(unit.start(true), 0);
        while (!works)
            KLFptdelay(poll_us);
    }
    EXPECT_TRUE(mutex.lock(0));
    mutex.release();
}

TEST_F(Unit, DestructionRightAfterTheStartIsSafe) {
    for (int round = 0; round < 100; ++round) {
        PatientUnit unit;
        ASSERT_EQ(unit.start(true), 0);
    }
}

TEST_F(Unit, ChangeReportsEachNewTextOnce) {
    struct Scripted : K4test {
        int start(bool) override { return 0; }
        void waitend() override {}
        KLTastr info() override { return text; }
        const char* text = "";
    } unit;
    KLTastr current("before");
    for (const auto& [text, changed] : {std::pair{"", false},
                                        {"12 good", true},
                                        {"12 good", false},
                                        {"13 good", true},
                                        {"OK", true},
                                        {"ok", true},
                                        {"OK ", true},
                                        {"", true},
                                        {"", false}}) {
        unit.text = text;
        EXPECT_EQ(unit.change(current), changed) << text;
        EXPECT_EQ(characters(current), text);
    }
}

struct Counter {
    void count() { ++value; }
    int value = 0;
};

TEST_F(Unit, BindingRunsItsMemberFunctionOrNothing) {
    Counter counter;
    KLTpthreadT<Counter> thread;
    const auto runs = [&] {
        EXPECT_EQ(thread.run(), 0);
        thread.waitend();
        return counter.value;
    };
    EXPECT_EQ(runs(), 0);
    thread.bind(&counter, &Counter::count);
    EXPECT_EQ(runs(), 1);
    thread.bind(&counter, nullptr);
    EXPECT_EQ(runs(), 1);
}

} // namespace
