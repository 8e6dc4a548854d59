#include "baselib/thread/thread.h"

#include "baselib/thread/multisema.h"
#include "baselib/thread/mutex.h"
#include "baselib/thread/sharedmemory.h"

#include <algorithm>
#include <functional>
#include <gtest/gtest.h>
#include <limits>
#include <string>
#include <sys/resource.h>
#include <sys/shm.h>
#include <unistd.h>

namespace {

// Its body is any callable.
struct ThreadBody : KLTpthreadBase {
    explicit ThreadBody(std::function<void()> callable, const char* name = "body")
        : KLTpthreadBase(name), body(std::move(callable)) {}
    void threadFuncOwn() override { body(); }
    std::function<void()> body;
};

class Thread : public testing::Test {
protected:
    Thread() { KLFptcreatemain("PT-Main"); }

    // For what another thread brings about.
    static void wait_until(const std::function<bool()>& holds) {
        for (int tries = 100'000; tries > 0 && !holds(); --tries)
            KLFptdelay(100);
        EXPECT_TRUE(holds());
    }
};

constexpr const char* long_name = "0123456789012345678901234567890123456789";

// Unnamed ones of a static initialiser, before any test.
const ThreadBody first_thread([] {}, nullptr);
const ThreadBody second_thread([] {}, "");
const KLTptmutex first_mutex;
KLTptmutex second_mutex("");

TEST_F(Thread, NamesAreCountedOrKeep31Characters) {
    EXPECT_STREQ(first_thread.name(), "PT-1");
    EXPECT_STREQ(second_thread.name(), "PT-2");
    EXPECT_STREQ(first_mutex.name(), "MU-0");
    EXPECT_STREQ(second_mutex.name(), "MU-1");
    ThreadBody thread([] {}, long_name);
    KLTptmutex mutex(long_name);
    thread.name(nullptr);
    mutex.name("");
    EXPECT_EQ(thread.name(), std::string(long_name, 31));
    EXPECT_EQ(mutex.name(), std::string(long_name, 31));
}

TEST_F(Thread, EachFindsItsOwnRecord) {
    KLTpthreadBase* main = KLFptmain(true);
    EXPECT_EQ(KLFptcreatemain("another"), main);
    EXPECT_EQ(KLFptcurrent(true), main);
    EXPECT_STREQ(KLFptname("nobody"), "PT-Main");
    EXPECT_EQ(main->run(), 0);
    main->waitend();
    EXPECT_FALSE(main->finished());
    std::string name;
    KLTpthreadBase* record = nullptr;
    const auto look = [&] { record = KLFptcurrent(true), name = KLFptname("nobody"); };
    ThreadBody thread(look, "worker");
    ASSERT_EQ(thread.run(), 0);
    thread.waitend();
    EXPECT_EQ(record, &thread);
    EXPECT_EQ(name, "worker");
}

TEST_F(Thread, RunsAgainOnceItHasFinished) {
    KLTmultisema signals;
    int sum = 0;
    ThreadBody thread([&] { sum = sum * 10 + signals.wait(); });
    thread.waitend();
    EXPECT_FALSE(thread.finished()) << "nothing to end yet";
    EXPECT_EQ(thread.cancel(), -2);
    EXPECT_EQ(thread.detach(), -1);
    for (const int value : {-1'000'000, 7, 8}) {
        ASSERT_EQ(thread.run(), 0);
        EXPECT_EQ(thread.run(), -2);
        EXPECT_TRUE(thread.running());
        EXPECT_EQ(value == 7 ? thread.detach() : 0, 0);
        EXPECT_EQ(signals.signal(value), 0);
        value == 8 ? thread.waitend() : wait_until([&] { return thread.finished(); });
        EXPECT_TRUE(thread.finished());
        EXPECT_EQ(thread.attached(), value < 0);
    }
    EXPECT_EQ(sum, -100'000'000 + 78);
}

std::atomic<bool> started{false};
std::atomic<bool> went_on{false};
std::atomic<bool> unwound{false};

struct TellsItsEnd {
    ~TellsItsEnd() { unwound = true; }
};

// These work on nothing of their record, which may be gone before the thread is.
void sleep_for_ever() {
    const TellsItsEnd end;
    started = true;
    for (;;)
        KLFptdelay(1'000);
}

void destroy_own_record() {
    const TellsItsEnd end;
    KLFptcurrent(true)->detach();
    delete KLFptcurrent(true);
    went_on = true;
}

TEST_F(Thread, CancelAndDestructionUnwindTheBody) {
    for (const bool cancelled : {true, false}) {
        started = unwound = false;
        auto* thread = new ThreadBody(sleep_for_ever);
        ASSERT_EQ(thread->run(), 0);
        wait_until([&] { return started.load(); });
        if (cancelled) {
            EXPECT_EQ(thread->cancel(), 0);
            EXPECT_FALSE(thread->finished());
            thread->waitend();
            EXPECT_TRUE(thread->finished());
        }
        delete thread;
        wait_until([&] { return unwound.load(); });
    }
    unwound = went_on = false;
    ASSERT_EQ((new ThreadBody(destroy_own_record))->run(), 0);
    wait_until([&] { return unwound.load(); });
    EXPECT_FALSE(went_on);
}

// The new thread may be over before run() has returned: its last word must stand.
TEST_F(Thread, DetachedThreadClearsItsOwnHandle) {
    enum { by_itself, while_it_runs, afterwards };
    for (int round = 0; round < 300; ++round) {
        const int how = round % 3;
        KLTmultisema may_end;
        ThreadBody thread([&] {
            if (how == by_itself) KLFptcurrent(true)->detach();
            if (how == while_it_runs) may_end.wait();
        });
        ASSERT_EQ(thread.run(), 0);
        wait_until([&] { return how == while_it_runs || thread.finished(); });
        ASSERT_EQ(thread.detach(), how == by_itself ? -1 : 0);
        thread.waitend(); // nothing to join: returns
        may_end.signal(1);
        wait_until([&] { return how != while_it_runs || !thread.attached(); });
        ASSERT_FALSE(thread.attached());
        ASSERT_TRUE(thread.finished());
    }
}

TEST_F(Thread, MutexIsWaitedForInTimeAndPassedOnByACancelledHolder) {
    KLTptmutex mutex;
    std::string owner;
    const auto under_lock = [&](const std::function<void()>& action) {
        const KLTptmutexHold held(mutex);
        action();
    };
    ThreadBody holder([&] { under_lock(sleep_for_ever); }, "holder");
    ThreadBody waiting([&] { under_lock([&] { owner = mutex.owner("free"); }); }, "next");
    ThreadBody timed([&] { mutex.lock(60'000'000) && mutex.release(); }, "timed");
    started = false;
    ASSERT_EQ(holder.run(), 0);
    wait_until([&] { return started.load(); });
    for (const auto& [timeout_us, least_us] : {std::pair{0, 0}, {-5, 0}, {500'000, 500'000}}) {
        const long long before_us = KLFptnow();
        EXPECT_FALSE(mutex.lock(timeout_us));
        EXPECT_GE(KLFptnow() - before_us, least_us);
        EXPECT_LT(KLFptnow() - before_us, least_us + 100'000);
        EXPECT_STREQ(mutex.owner("free"), "holder");
        EXPECT_EQ(KLFptcurrent(true)->waitingFor(), nullptr);
    }
    for (ThreadBody* thread : {&waiting, &timed}) {
        ASSERT_EQ(thread->run(), 0);
        wait_until([&] { return thread->waitingFor() == &mutex; });
    }
    holder.cancel();
    holder.waitend();
    waiting.waitend();
    timed.waitend();
    EXPECT_EQ(owner, "next");
    EXPECT_EQ(waiting.waitingFor(), nullptr);
    for (const long long timeout_us : {-1LL, 500'000LL, std::numeric_limits<long long>::max()}) {
        EXPECT_STREQ(mutex.owner("free"), "free");
        EXPECT_TRUE(mutex.lock(timeout_us));
        EXPECT_STREQ(mutex.owner("free"), "PT-Main");
        EXPECT_EQ(mutex.release(), 0);
    }
}

TEST_F(Thread, SignalsWithoutAPipeFail) {
    const int lowest_free = dup(0);
    close(lowest_free);
    rlimit former{};
    ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &former), 0);
    const rlimit narrow{static_cast<rlim_t>(lowest_free) + 2, former.rlim_max};
    ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &narrow), 0);
    for (int i = 0; i < 2; ++i) {
        KLTmultisema only;
        KLTmultisema none;
        EXPECT_EQ(only.signal(i), 0);
        EXPECT_EQ(only.wait(), i);
        EXPECT_EQ(none.signal(i), -1);
        EXPECT_EQ(none.wait(), -1);
    }
    ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &former), 0);
}

TEST(SharedMemory, ObjectsShareOneZeroedBlockThatItsCreatorRemoves) {
    const int key = 0x4B340000 | (getpid() & 0xFFFF); // likely of no other process
    const auto exists = [key] { return shmget(key, 0, 0) >= 0; };
    for (const int refused : {0, -1})
        EXPECT_EQ(KLTsharedMemory(refused, 1000).memory(), nullptr);
    EXPECT_EQ(KLTsharedMemory(key, 0).memory(), nullptr);
    {
        KLTsharedMemory creator(key, 1000);
        auto* const first = static_cast<unsigned char*>(creator.memory());
        ASSERT_NE(first, nullptr);
        EXPECT_EQ(std::count(first, first + 1000, 0), 1000);
        {
            KLTsharedMemory user(key, 1000);
            ASSERT_NE(user.memory(), nullptr);
            EXPECT_NE(user.memory(), first);
            first[999] = 77;
            EXPECT_EQ(static_cast<unsigned char*>(user.memory())[999], 77);
        }
        EXPECT_EQ(KLTsharedMemory(key, 1 << 20).memory(), nullptr) << "the block is too small";
        EXPECT_TRUE(exists()) << "a user does not remove it";
    }
    EXPECT_FALSE(exists());
}

void release_elsewhere() {
    KLFptcreatemain(nullptr);
    second_mutex.lock();
    ThreadBody stranger([] { second_mutex.lock(false); });
    stranger.run();
    stranger.waitend();
}

void release_twice() {
    KLFptcreatemain(nullptr);
    second_mutex.lock();
    second_mutex.lock();
    fprintf(stderr, "%d;", second_mutex.release());
    second_mutex.release();
}

// Death tests come first: there is no main thread yet.
TEST(ThreadDeathTest, EndsTheProcess) {
    EXPECT_EQ(KLFptmain(false), nullptr);
    EXPECT_EQ(KLFptcurrent(false), nullptr);
    EXPECT_STREQ(KLFptname("nobody"), "nobody");
    EXPECT_EXIT(KLFptmain(fputs(KLFptcreatemain("")->name(), stderr))->cancel(),
                testing::ExitedWithCode(0), "^PT-0$");
    const char* no_main = "KLTpthreadBase::run\\(\\): Main thread does not exist!";
    const char* unknown = "KLFptcurrent\\(\\): Unknown thread!";
    const char* stranger = "KLTptmutex::release\\(\\): Only owner can release mutex!";
    const std::pair<void (*)(), std::string> misuses[] = {
        {[] { ThreadBody([] {}).run(); }, no_main},
        {[] { KLFptmain(true); }, "KLFptmain\\(\\): Main thread doesn't exist!"},
        {[] { KLFptcurrent(true); }, unknown},
        {[] { second_mutex.lock(); }, unknown},
        {[] { second_mutex.lock(false); }, unknown},
        {[] { static_cast<void>(second_mutex.lock(0)); }, unknown},
        {[] { KLFptcreatemain(nullptr), second_mutex.release(); }, stranger},
        {release_elsewhere, stranger},
        {release_twice, std::string("0;") + stranger},
    };
    for (const auto& [misuse, message] : misuses)
        EXPECT_EXIT(misuse(), testing::ExitedWithCode(255), "^" + message + "\r\n$");
}

} // namespace
