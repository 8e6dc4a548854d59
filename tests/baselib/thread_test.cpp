#include "baselib/thread/thread.h"

#include "baselib/thread/multisema.h"
#include "baselib/thread/mutex.h"
#include "baselib/thread/sharedmemory.h"

#include <cstring>
#include <functional>
#include <gtest/gtest.h>
#include <limits>
#include <string>
#include <sys/resource.h>
#include <sys/shm.h>
#include <unistd.h>
#include <utility>

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
// Never destroyed, for what ends the process leaves it locked.
KLTptmutex& second_mutex = *new KLTptmutex("");

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

TEST_F(Thread, RunsAgainOnceItHasFinishedHoweverItWasGivenUp) {
    enum : int { left_alone = 1, detached_before, detached_behind, joined };
    KLTmultisema signals;
    int sum = 0;
    ThreadBody thread([&] { sum = sum * 10 + signals.wait(); });
    thread.waitend();
    EXPECT_FALSE(thread.finished()) << "nothing to end yet";
    EXPECT_EQ(thread.cancel(), -2);
    EXPECT_EQ(thread.detach(), -1);
    for (const int way : {left_alone, detached_before, detached_behind, joined}) {
        ASSERT_EQ(thread.run(), 0);
        EXPECT_EQ(thread.run(), -2);
        EXPECT_TRUE(thread.running());
        EXPECT_EQ(way == detached_before ? thread.detach() : 0, 0);
        if (way == detached_before) thread.waitend(); // nothing to join: returns
        EXPECT_EQ(signals.signal(way), 0);
        way == joined ? thread.waitend() : wait_until([&] { return thread.finished(); });
        EXPECT_EQ(way == detached_behind ? thread.detach() : 0, 0);
        EXPECT_EQ(thread.attached(), way == left_alone);
    }
    EXPECT_TRUE(thread.finished());
    EXPECT_EQ(sum, 1234);
}

std::atomic<int> begun{0};
std::atomic<int> unwound{0};

struct Life {
    Life() { ++begun; }
    ~Life() { ++unwound; }
};

// These work on nothing of their record, which may be gone before the thread is.
void sleep_for_ever() {
    const Life life;
    for (;;)
        KLFptdelay(1'000);
}

void destroy_own_record() {
    const Life life;
    KLFptcurrent(true)->detach();
    delete KLFptcurrent(true);
    sleep_for_ever(); // never: the thread has ended
}

TEST_F(Thread, CancelAndDestructionUnwindTheBody) {
    enum { cancelled, cancelled_detached, destroyed, destroys_itself };
    for (const int end : {cancelled, cancelled_detached, destroyed, destroys_itself}) {
        begun = unwound = 0;
        auto* thread = new ThreadBody(end == destroys_itself ? destroy_own_record : sleep_for_ever);
        ASSERT_EQ(thread->run(), 0);
        wait_until([] { return begun == 1; });
        if (end == cancelled) {
            EXPECT_EQ(thread->cancel(), 0);
            EXPECT_FALSE(thread->finished());
            thread->waitend();
            EXPECT_TRUE(thread->finished());
        }
        if (end == cancelled_detached) {
            EXPECT_EQ(thread->detach() + thread->cancel(), 0);
            wait_until([&] { return !thread->attached(); });
            EXPECT_EQ(thread->cancel(), -2);
        }
        if (end != destroys_itself) delete thread;
        wait_until([] { return unwound == 1; });
    }
}

TEST_F(Thread, MutexIsWaitedForInTimeAndPassedOnByACancelledHolder) {
    static KLTptmutex& mutex = *new KLTptmutex; // stays locked
    const auto hold_for_ever = [&] {
        const KLTptmutexHold held(mutex);
        sleep_for_ever();
    };
    ThreadBody holder(hold_for_ever, "holder");
    ThreadBody waiting([&] { mutex.lock() == 0 && mutex.release(); });
    ThreadBody timed([&] { mutex.lock(60'000'000) && mutex.release(); });
    begun = 0;
    ASSERT_EQ(holder.run(), 0);
    wait_until([] { return begun == 1; });
    for (const auto& [timeout_us, least_us] : {std::pair{0, 0}, {-5, 0}, {500'000, 500'000}}) {
        const long long before_us = KLFptnow();
        EXPECT_FALSE(mutex.lock(timeout_us));
        EXPECT_EQ((KLFptnow() - before_us) / 100'000, least_us / 100'000);
        EXPECT_STREQ(mutex.owner("free"), "holder");
        EXPECT_EQ(KLFptcurrent(true)->waitingFor(), nullptr);
    }
    for (ThreadBody* thread : {&waiting, &timed}) {
        ASSERT_EQ(thread->run(), 0);
        wait_until([&] { return thread->waitingFor() == &mutex; });
    }
    holder.cancel();
    for (ThreadBody* thread : {&holder, &waiting, &timed})
        thread->waitend();
    EXPECT_EQ(waiting.waitingFor(), nullptr);
    for (const long long timeout_us : {-1LL, std::numeric_limits<long long>::max()}) {
        EXPECT_STREQ(mutex.owner("free"), "free") << "also behind the first of two releases";
        EXPECT_TRUE(mutex.lock(timeout_us));
        EXPECT_EQ(mutex.lock(), 0);
        EXPECT_STREQ(mutex.owner("free"), "PT-Main");
        EXPECT_EQ(mutex.release(), 0);
    }
}

TEST_F(Thread, SignalsWithoutAPipeFail) {
    rlimit limit{};
    ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &limit), 0);
    const rlim_t former = std::exchange(limit.rlim_cur, 0);
    ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &limit), 0);
    KLTmultisema none;
    limit.rlim_cur = former;
    ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &limit), 0);
    EXPECT_EQ(none.signal(1), -1);
    EXPECT_EQ(none.wait(), -1);
}

TEST(SharedMemory, ObjectsShareOneZeroedBlockThatItsCreatorRemoves) {
    const int key = 0x4B340000 | (getpid() & 0xFFFF); // likely of no other process
    for (const auto& [refused, size] : {std::pair{0, 1000}, {-1, 1000}, {key, 0}})
        EXPECT_EQ(KLTsharedMemory(refused, size).memory(), nullptr);
    {
        const KLTsharedMemory creator(key, 1000);
        ASSERT_NE(creator.memory(), nullptr);
        EXPECT_EQ(memcmp(creator.memory(), std::string(1000, '\0').data(), 1000), 0);
        memset(creator.memory(), 77, 1000);
        EXPECT_EQ(memcmp(KLTsharedMemory(key, 1000).memory(), creator.memory(), 1000), 0);
        EXPECT_EQ(KLTsharedMemory(key, 1 << 20).memory(), nullptr) << "the block is too small";
        EXPECT_GE(shmget(key, 0, 0), 0) << "a user does not remove it";
    }
    EXPECT_EQ(shmget(key, 0, 0), -1);
}

void release_elsewhere() {
    KLFptcreatemain(nullptr);
    second_mutex.lock();
    ThreadBody stranger([] { second_mutex.lock(false); });
    stranger.run();
    stranger.waitend();
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
    };
    for (const auto& [misuse, message] : misuses)
        EXPECT_EXIT(misuse(), testing::ExitedWithCode(255), "^" + message + "\r\n$");
}

} // namespace
