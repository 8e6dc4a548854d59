#include "baselib/thread/thread.h"

#include "baselib/thread/multisema.h"
#include "baselib/thread/mutex.h"

#include <functional>
#include <gtest/gtest.h>
#include <limits>
#include <memory>
#include <string>

namespace {

// Its body is any callable.
class ThreadBody : public KLTpthreadBase {
public:
    explicit ThreadBody(std::function<void()> body, const char* name = "body")
        : KLTpthreadBase(name), body_(std::move(body)) {}
    void threadFuncOwn() override { body_(); }

private:
    std::function<void()> body_;
};

constexpr const char* long_name = "0123456789012345678901234567890123456789";

// Unnamed ones of a static initialiser, before any test.
const ThreadBody first_thread([] {}, nullptr);
const ThreadBody second_thread([] {}, "");
const KLTptmutex first_mutex;
const KLTptmutex second_mutex("");

class Thread : public testing::Test {
protected:
    Thread() { KLFptcreatemain("PT-Main"); }
};

TEST_F(Thread, NamesAreCountedOrKeep31Characters) {
    EXPECT_STREQ(first_thread.name(), "PT-1");
    EXPECT_STREQ(second_thread.name(), "PT-2");
    EXPECT_STREQ(first_mutex.name(), "MU-0");
    EXPECT_STREQ(second_mutex.name(), "MU-1");
    ThreadBody thread([] {}, long_name);
    KLTptmutex mutex(long_name);
    thread.name(nullptr);
    mutex.name("");
    EXPECT_STREQ(thread.name(), "0123456789012345678901234567890");
    EXPECT_STREQ(mutex.name(), "0123456789012345678901234567890");
}

TEST_F(Thread, MainRecordIsMadeOnceAndNeverEnds) {
    KLTpthreadBase* main = KLFptmain(true);
    EXPECT_EQ(KLFptcreatemain("another"), main);
    EXPECT_STREQ(main->name(), "PT-Main");
    EXPECT_EQ(KLFptcurrent(true), main);
    EXPECT_EQ(main->run(), 0);
    main->waitend();
    EXPECT_FALSE(main->finished());
}

void* name_of_caller(void* text) {
    *static_cast<std::string*>(text) = KLFptname("nobody");
    return KLFptcurrent(false);
}

TEST_F(Thread, ABodyFindsItsOwnRecordAndAForeignThreadNone) {
    const void* record = nullptr;
    std::string name;
    ThreadBody thread([&] { record = name_of_caller(&name); }, "worker");
    ASSERT_EQ(thread.run(), 0);
    thread.waitend();
    EXPECT_EQ(record, &thread);
    EXPECT_EQ(name, "worker");
    pthread_t foreign;
    void* none = &foreign;
    ASSERT_EQ(pthread_create(&foreign, nullptr, name_of_caller, &name), 0);
    ASSERT_EQ(pthread_join(foreign, &none), 0);
    EXPECT_EQ(none, nullptr);
    EXPECT_EQ(name, "nobody");
}

TEST_F(Thread, RunsAgainOnceItHasFinished) {
    KLTmultisema may_end;
    int runs = 0;
    ThreadBody thread([&] { runs += may_end.wait(); });
    thread.waitend();
    EXPECT_FALSE(thread.finished()) << "nothing to end yet";
    EXPECT_EQ(thread.cancel(), -2);
    EXPECT_EQ(thread.detach(), -1);
    ASSERT_EQ(thread.run(), 0);
    EXPECT_EQ(thread.run(), -2);
    may_end.signal(1);
    may_end.signal(1);
    while (!thread.finished())
        KLFptdelay(100);
    EXPECT_TRUE(thread.attached());
    ASSERT_EQ(thread.run(), 0);
    thread.waitend();
    EXPECT_FALSE(thread.attached());
    EXPECT_EQ(runs, 2);
}

// At once, often before run() has returned to the creator.
TEST_F(Thread, WaitendOrCancelOnItselfEndsTheThread) {
    for (int round = 0; round < 200; ++round) {
        bool went_on = false;
        ThreadBody thread([&] {
            KLTpthreadBase* self = KLFptcurrent(true);
            round % 2 ? static_cast<void>(self->cancel()) : self->waitend();
            went_on = true;
        });
        ASSERT_EQ(thread.run(), 0);
        thread.waitend();
        ASSERT_TRUE(thread.finished());
        ASSERT_FALSE(went_on);
    }
}

std::atomic<bool> started{false};
std::atomic<bool> unwound{false};

// Works on nothing of its record, which may be gone before the thread is.
void sleep_until_unwound() {
    const struct End {
        ~End() { unwound = true; }
    } end;
    started = true;
    for (;;)
        KLFptdelay(1'000);
}

TEST_F(Thread, CancelUnwindsTheBodyAndSoDoesTheDestructor) {
    for (const bool destroyed : {false, true}) {
        started = unwound = false;
        auto thread = std::make_unique<ThreadBody>(sleep_until_unwound);
        ASSERT_EQ(thread->run(), 0);
        while (!started)
            KLFptdelay(100);
        if (destroyed)
            thread.reset();
        else
            EXPECT_EQ(thread->cancel(), 0);
        while (!unwound)
            KLFptdelay(100);
        if (thread == nullptr) continue;
        EXPECT_FALSE(thread->finished());
        thread->waitend();
        EXPECT_TRUE(thread->finished());
    }
}

TEST_F(Thread, ThreadThatDestroysItsRecordEndsThere) {
    KLTmultisema over;
    auto* thread = new ThreadBody([&over] {
        struct Tell {
            KLTmultisema& over;
            int went_on = 0;
            ~Tell() { over.signal(went_on); }
        } tell{over};
        KLFptcurrent(true)->detach();
        delete KLFptcurrent(true);
        tell.went_on = 1;
    });
    ASSERT_EQ(thread->run(), 0);
    EXPECT_EQ(over.wait(), 0);
}

TEST_F(Thread, DetachedThreadClearsItsOwnHandle) {
    for (const bool afterwards : {false, true}) {
        std::atomic<bool> may_end{afterwards};
        ThreadBody thread([&] {
            while (!may_end)
                KLFptdelay(100);
        });
        ASSERT_EQ(thread.run(), 0);
        while (afterwards && !thread.finished())
            KLFptdelay(100);
        EXPECT_EQ(thread.detach(), 0);
        thread.waitend(); // nothing to join: returns
        may_end = true;
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

TEST_F(Thread, SignalsArriveInOrder) {
    KLTmultisema signals;
    for (const int value : {1, -7, 0x7FFFFFFF, 0})
        EXPECT_EQ(signals.signal(value), 0);
    for (const int value : {1, -7, 0x7FFFFFFF, 0})
        EXPECT_EQ(signals.wait(), value);
}

using Mutex = Thread;

TEST_F(Mutex, EachFormOfLockTakesAFreeMutex) {
    KLTptmutex mutex;
    bool (*const locks[])(KLTptmutex&) = {
        [](KLTptmutex& m) { return m.lock() == 0; },
        [](KLTptmutex& m) { return m.lock(true) == 0; },
        [](KLTptmutex& m) { return m.lock(0); },
        [](KLTptmutex& m) { return m.lock(-1); },
        [](KLTptmutex& m) { return m.lock(500'000); },
        [](KLTptmutex& m) { return m.lock(std::numeric_limits<long long>::max()); },
    };
    for (const auto lock : locks) {
        EXPECT_STREQ(mutex.owner("free"), "free");
        EXPECT_TRUE(lock(mutex));
        EXPECT_STREQ(mutex.owner("free"), "PT-Main");
        EXPECT_EQ(lock == locks[0] ? mutex.release() : mutex.lock(false), 0);
    }
}

TEST_F(Mutex, IsWaitedForInTimeAndPassedOnByACancelledHolder) {
    KLTptmutex mutex;
    std::string owner;
    started = false;
    const auto hold = [&] {
        const KLTptmutexHold held(mutex);
        sleep_until_unwound();
    };
    const auto look = [&] {
        const KLTptmutexHold held(mutex);
        owner = mutex.owner("free");
    };
    ThreadBody holder(hold, "holder");
    ThreadBody waiting(look, "next");
    ASSERT_EQ(holder.run(), 0);
    while (!started)
        KLFptdelay(100);
    for (const auto& [timeout_us, least_us] : {std::pair{0, 0}, {-5, 0}, {500'000, 500'000}}) {
        const long long before_us = KLFptnow();
        EXPECT_FALSE(mutex.lock(timeout_us));
        EXPECT_GE(KLFptnow() - before_us, least_us);
        EXPECT_LT(KLFptnow() - before_us, least_us + 100'000);
        EXPECT_STREQ(mutex.owner("free"), "holder");
        EXPECT_EQ(KLFptcurrent(true)->waitingFor(), nullptr);
    }
    ASSERT_EQ(waiting.run(), 0);
    while (waiting.waitingFor() != &mutex)
        KLFptdelay(100);
    holder.cancel();
    waiting.waitend();
    EXPECT_EQ(owner, "next");
    EXPECT_EQ(waiting.waitingFor(), nullptr);
    EXPECT_STREQ(mutex.owner("free"), "free");
    holder.waitend();
}

// What only the owner may do, by another thread.
void by_stranger(int (*release)(KLTptmutex&)) {
    KLFptcreatemain(nullptr);
    KLTptmutex mutex;
    mutex.lock();
    ThreadBody stranger([&] { release(mutex); });
    stranger.run();
    stranger.waitend();
}

void releases_nested() {
    KLFptcreatemain(nullptr);
    KLTptmutex mutex;
    mutex.lock();
    mutex.lock();
    fprintf(stderr, "%d;", mutex.release());
    mutex.release();
}

void nothing_before_the_main_thread() {
    const bool absent = !KLFptmain(false) && !KLFptcurrent(false);
    const bool fallback = std::string(KLFptname("nobody")) == "nobody";
    const bool first_name = std::string(KLFptcreatemain(nullptr)->name()) == "PT-0";
    exit(absent + 2 * fallback + 4 * first_name);
}

// Death tests come first: there is no main thread yet.
TEST(ThreadDeathTest, EndsTheProcess) {
    EXPECT_EXIT(KLFptcreatemain(nullptr)->cancel(), testing::ExitedWithCode(0), "^$");
    EXPECT_EXIT(nothing_before_the_main_thread(), testing::ExitedWithCode(7), "");
    const char* no_main = "KLTpthreadBase::run\\(\\): Main thread does not exist!";
    const char* unknown = "KLFptcurrent\\(\\): Unknown thread!";
    const char* not_owner = "KLTptmutex::release\\(\\): Only owner can release mutex!";
    const std::pair<void (*)(), std::string> misuses[] = {
        {[] { ThreadBody([] {}).run(); }, no_main},
        {[] { KLFptmain(true); }, "KLFptmain\\(\\): Main thread doesn't exist!"},
        {[] { KLFptcurrent(true); }, unknown},
        {[] { KLTptmutex().lock(); }, unknown},
        {[] { KLTptmutex().lock(false); }, unknown},
        {[] { static_cast<void>(KLTptmutex().lock(0)); }, unknown},
        {[] { KLFptcreatemain(nullptr), KLTptmutex().release(); }, not_owner},
        {[] { by_stranger([](KLTptmutex& mutex) { return mutex.release(); }); }, not_owner},
        {[] { by_stranger([](KLTptmutex& mutex) { return mutex.lock(false); }); }, not_owner},
        {releases_nested, std::string("0;") + not_owner},
    };
    for (const auto& [misuse, message] : misuses)
        EXPECT_EXIT(misuse(), testing::ExitedWithCode(255), "^" + message + "\r\n$");
}

} // namespace
