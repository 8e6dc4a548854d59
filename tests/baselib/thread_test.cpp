#include "baselib/thread/thread.h"

#include "baselib/thread/multisema.h"
#include "thread_body.h"

#include <gtest/gtest.h>
#include <memory>
#include <string>

namespace {

class Idle : public KLTpthreadBase {
public:
    using KLTpthreadBase::KLTpthreadBase;
    void threadFuncOwn() override {}
};

// Unnamed records of a static initialiser, before any test.
Idle firstUnnamed;
Idle secondUnnamed("");

class Thread : public testing::Test {
protected:
    Thread() { KLFptcreatemain("PT-Main"); }
};

void sleepForEver() {
    for (;;)
        KLFptdelay(1'000);
}

TEST_F(Thread, NamesAreCountedOrKeep31Characters) {
    EXPECT_STREQ(firstUnnamed.name(), "PT-1");
    EXPECT_STREQ(secondUnnamed.name(), "PT-2");
    Idle record("0123456789012345678901234567890123456789");
    record.name("");
    record.name(nullptr);
    EXPECT_STREQ(record.name(), "0123456789012345678901234567890");
}

TEST_F(Thread, MainRecordIsMadeOnce) {
    KLTpthreadBase* main = KLFptmain(true);
    EXPECT_EQ(KLFptcreatemain("another"), main);
    EXPECT_STREQ(main->name(), "PT-Main");
    EXPECT_EQ(KLFptcurrent(true), main);
    EXPECT_EQ(main->run(), 0);
    main->waitend();
    EXPECT_FALSE(main->finished());
}

void* nameOfCaller(void* text) {
    *static_cast<std::string*>(text) = KLFptname("nobody");
    return KLFptcurrent(false);
}

TEST_F(Thread, ABodyFindsItsOwnRecordAndAForeignThreadNone) {
    const void* record = nullptr;
    std::string seenName;
    ThreadBody thread([&] { record = nameOfCaller(&seenName); }, "worker");
    ASSERT_EQ(thread.run(), 0);
    thread.waitend();
    EXPECT_EQ(record, &thread);
    EXPECT_EQ(seenName, "worker");
    pthread_t foreign;
    void* none = &foreign;
    ASSERT_EQ(pthread_create(&foreign, nullptr, nameOfCaller, &seenName), 0);
    ASSERT_EQ(pthread_join(foreign, &none), 0);
    EXPECT_EQ(none, nullptr);
    EXPECT_EQ(seenName, "nobody");
}

TEST_F(Thread, RunsAgainOnceItHasFinished) {
    KLTmultisema mayEnd;
    int runs = 0;
    ThreadBody thread([&] {
        mayEnd.wait();
        ++runs;
    });
    ASSERT_EQ(thread.run(), 0);
    EXPECT_EQ(thread.run(), -2);
    mayEnd.signal(1);
    mayEnd.signal(1);
    while (!thread.finished())
        KLFptdelay(100);
    EXPECT_TRUE(thread.attached());
    ASSERT_EQ(thread.run(), 0);
    thread.waitend();
    EXPECT_FALSE(thread.attached());
    EXPECT_EQ(runs, 2);
}

TEST_F(Thread, RecordThatNeverRanHasNothingToEnd) {
    Idle record;
    record.waitend();
    EXPECT_FALSE(record.finished());
    EXPECT_EQ(record.cancel(), -2);
    EXPECT_EQ(record.detach(), -1);
}

// At once, often before run() has returned to the creator.
TEST_F(Thread, WaitendOrCancelOnItselfEndsTheThread) {
    for (int round = 0; round < 200; ++round) {
        bool wentOn = false;
        ThreadBody thread([&] {
            KLTpthreadBase* self = KLFptcurrent(true);
            round % 2 ? static_cast<void>(self->cancel()) : self->waitend();
            wentOn = true;
        });
        ASSERT_EQ(thread.run(), 0);
        thread.waitend();
        ASSERT_TRUE(thread.finished());
        ASSERT_FALSE(wentOn);
    }
}

struct SetAtEnd {
    std::atomic<bool>& flag;
    ~SetAtEnd() { flag = true; }
};

TEST_F(Thread, CancelUnwindsTheBody) {
    std::atomic<bool> unwound{false};
    ThreadBody thread([&] {
        const SetAtEnd end{unwound};
        sleepForEver();
    });
    ASSERT_EQ(thread.run(), 0);
    EXPECT_EQ(thread.cancel(), 0);
    EXPECT_FALSE(thread.finished());
    thread.waitend();
    EXPECT_TRUE(unwound);
    EXPECT_TRUE(thread.finished());
}

// Works on nothing of its record, since that is gone before the thread is.
class Sleeper : public KLTpthreadBase {
public:
    Sleeper() : KLTpthreadBase("sleeper") {}
    void threadFuncOwn() override { sleepThenTell(); }
    static inline std::atomic<bool> started{false};
    static inline std::atomic<bool> unwound{false};

private:
    static void sleepThenTell() {
        const SetAtEnd end{unwound};
        started = true;
        sleepForEver();
    }
};

TEST_F(Thread, DestructorCancelsARunningThread) {
    Sleeper::started = Sleeper::unwound = false;
    auto record = std::make_unique<Sleeper>();
    ASSERT_EQ(record->run(), 0);
    while (!Sleeper::started)
        KLFptdelay(100);
    record.reset();
    while (!Sleeper::unwound)
        KLFptdelay(100);
}

class EndsItself : public KLTpthreadBase {
public:
    explicit EndsItself(KLTmultisema& over) : KLTpthreadBase("brief"), over_(over) {}
    void threadFuncOwn() override {
        struct Tell {
            KLTmultisema& over;
            bool wentOn = false;
            ~Tell() { over.signal(wentOn ? 2 : 1); }
        } tell{over_};
        detach();
        delete this;
        tell.wentOn = true;
    }

private:
    KLTmultisema& over_;
};

TEST_F(Thread, ThreadThatDestroysItsRecordEndsThere) {
    KLTmultisema over;
    ASSERT_EQ((new EndsItself(over))->run(), 0);
    EXPECT_EQ(over.wait(), 1);
}

TEST_F(Thread, DetachedThreadClearsItsOwnHandle) {
    for (const bool afterwards : {false, true}) {
        std::atomic<bool> mayEnd{afterwards};
        ThreadBody thread([&] {
            while (!mayEnd)
                KLFptdelay(100);
        });
        ASSERT_EQ(thread.run(), 0);
        while (afterwards && !thread.finished())
            KLFptdelay(100);
        EXPECT_EQ(thread.detach(), 0);
        thread.waitend(); // nothing to join: returns
        mayEnd = true;
        while (thread.attached())
            KLFptdelay(100);
        EXPECT_TRUE(thread.finished());
        EXPECT_EQ(thread.detach(), -1);
    }
}

// The new thread may be over before run() has returned: its last word must stand.
TEST_F(Thread, BriefDetachedThreadsLeaveNoHandleBehind) {
    for (int round = 0; round < 300; ++round) {
        ThreadBody thread([] { KLFptcurrent(true)->detach(); });
        ASSERT_EQ(thread.run(), 0);
        while (!thread.finished())
            KLFptdelay(10);
        ASSERT_EQ(thread.detach(), -1);
        ASSERT_FALSE(thread.attached());
    }
}

TEST_F(Thread, DelayTakesItsTime) {
    const long long before_us = KLFptnow();
    EXPECT_EQ(KLFptdelay(30'000), 0);
    EXPECT_EQ(KLFptdelay(0), 0);
    EXPECT_EQ(KLFptdelay(-1), 0);
    const long long took_us = KLFptnow() - before_us;
    EXPECT_GE(took_us, 30'000);
}

TEST_F(Thread, SignalsArriveInOrder) {
    KLTmultisema ask;
    KLTmultisema answer;
    ThreadBody thread([&] {
        for (int value = ask.wait(); value != 0; value = ask.wait())
            answer.signal(-value);
    });
    ASSERT_EQ(thread.run(), 0);
    for (const int value : {1, -7, 0x7FFFFFFF, 0})
        EXPECT_EQ(ask.signal(value), 0);
    thread.waitend();
    EXPECT_EQ(answer.wait(), -1);
    EXPECT_EQ(answer.wait(), 7);
    EXPECT_EQ(answer.wait(), -0x7FFFFFFF);
}

TEST(ThreadDeathTest, CancellingTheMainRecordEndsTheProcess) {
    EXPECT_EXIT(KLFptcreatemain("PT-Main")->cancel(), testing::ExitedWithCode(0), "");
}

} // namespace
