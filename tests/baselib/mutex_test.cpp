#include "baselib/thread/mutex.h"

#include "baselib/thread/multisema.h"
#include "thread_body.h"

#include <gtest/gtest.h>
#include <limits>
#include <string>

namespace {

class Mutex : public testing::Test {
protected:
    Mutex() { KLFptcreatemain("PT-Main"); }
};

constexpr int statusOfMisuse = 255; // exit status -1

// Another thread that holds a mutex for as long as this object lives.
class HeldElsewhere {
public:
    explicit HeldElsewhere(KLTptmutex& mutex)
        : thread_(
              [this, &mutex] {
                  mutex.lock();
                  holds_.signal(1);
                  mayEnd_.wait();
                  mutex.release();
              },
              "holder") {
        thread_.run();
        holds_.wait();
    }
    ~HeldElsewhere() {
        mayEnd_.signal(1);
        thread_.waitend();
    }

private:
    KLTmultisema holds_;
    KLTmultisema mayEnd_;
    ThreadBody thread_;
};

TEST_F(Mutex, UnnamedMutexesAreCountedAndNamesCut) {
    const KLTptmutex first;
    const KLTptmutex second("");
    ASSERT_EQ(std::string(first.name()).substr(0, 3), "MU-");
    EXPECT_EQ(std::stoi(first.name() + 3) + 1, std::stoi(second.name() + 3));
    KLTptmutex named("0123456789012345678901234567890123456789");
    EXPECT_STREQ(named.name(), "0123456789012345678901234567890");
    named.name("display");
    named.name("");
    EXPECT_STREQ(named.name(), "display");
}

TEST_F(Mutex, EachFormOfLockTakesAFreeMutex) {
    KLTptmutex mutex;
    EXPECT_STREQ(mutex.owner("free"), "free");
    EXPECT_EQ(mutex.lock(), 0);
    EXPECT_STREQ(mutex.owner("free"), "PT-Main");
    EXPECT_EQ(mutex.lock(false), 0);
    EXPECT_STREQ(mutex.owner("free"), "free");
    EXPECT_EQ(mutex.lock(true), 0);
    EXPECT_EQ(mutex.release(), 0);
    for (const int timeout_us : {0, -1, 500'000}) {
        EXPECT_TRUE(mutex.lock(timeout_us));
        EXPECT_STREQ(mutex.owner("free"), "PT-Main");
        EXPECT_EQ(mutex.release(), 0);
    }
    EXPECT_TRUE(mutex.lock(std::numeric_limits<long long>::max()));
    EXPECT_EQ(mutex.release(), 0);
}

TEST_F(Mutex, TimedLockOfAHeldMutexGivesUpInTime) {
    KLTptmutex mutex;
    const HeldElsewhere held(mutex);
    const struct {
        int timeout_us;
        long long atLeast_us;
        long long below_us;
    } cases[] = {{0, 0, 100'000}, {-5, 0, 100'000}, {500'000, 500'000, 600'000}};
    for (const auto& c : cases) {
        const long long before_us = KLFptnow();
        EXPECT_FALSE(mutex.lock(c.timeout_us));
        const long long took_us = KLFptnow() - before_us;
        EXPECT_GE(took_us, c.atLeast_us);
        EXPECT_LT(took_us, c.below_us);
        EXPECT_STREQ(mutex.owner("free"), "holder");
        EXPECT_EQ(KLFptcurrent(true)->waitingFor(), nullptr);
    }
}

TEST_F(Mutex, WaitingThreadIsTracedAndGetsTheMutex) {
    KLTptmutex mutex;
    std::string owner;
    ThreadBody waiting(
        [&] {
            mutex.lock();
            owner = mutex.owner("free");
            mutex.release();
        },
        "waiting");
    mutex.lock();
    ASSERT_EQ(waiting.run(), 0);
    while (waiting.waitingFor() != &mutex)
        KLFptdelay(100);
    mutex.release();
    waiting.waitend();
    EXPECT_EQ(owner, "waiting");
    EXPECT_EQ(waiting.waitingFor(), nullptr);
    EXPECT_STREQ(mutex.owner("free"), "free");
}

TEST_F(Mutex, CancelledHolderGivesTheMutexBack) {
    KLTptmutex mutex;
    KLTmultisema holds;
    ThreadBody holder([&] {
        const KLTptmutexHold hold(mutex);
        holds.signal(1);
        for (;;) {
            KLFptnow(); // time goes on, where it is virtual
            pthread_testcancel();
        }
    });
    ASSERT_EQ(holder.run(), 0);
    holds.wait();
    holder.cancel();
    holder.waitend();
    EXPECT_STREQ(mutex.owner("free"), "free");
    EXPECT_TRUE(mutex.lock(0));
    mutex.release();
}

void nestedRelease() {
    KLFptcreatemain("PT-Main");
    KLTptmutex mutex;
    mutex.lock();
    mutex.lock();
    mutex.release();
    fprintf(stderr, "once;");
    mutex.release();
}

void releaseByStranger(bool byLockFalse) {
    KLFptcreatemain("PT-Main");
    KLTptmutex mutex;
    mutex.lock();
    onOtherThread([&] { byLockFalse ? mutex.lock(false) : mutex.release(); });
}

TEST(MutexDeathTest, OnlyTheOwnerMayReleaseAndOnlyOnce) {
    const char* message = "KLTptmutex::release\\(\\): Only owner can release mutex!\r\n$";
    EXPECT_EXIT(nestedRelease(), testing::ExitedWithCode(statusOfMisuse),
                std::string("^once;") + message);
    EXPECT_EXIT(releaseByStranger(false), testing::ExitedWithCode(statusOfMisuse), message);
    EXPECT_EXIT(releaseByStranger(true), testing::ExitedWithCode(statusOfMisuse), message);
    EXPECT_EXIT((KLFptcreatemain(nullptr), KLTptmutex().release()),
                testing::ExitedWithCode(statusOfMisuse), message);
}

using Use = void (*)();

// On a thread that the layer did not start; it has no record, whether there is a main one or not.
void onForeignThread(Use use) {
    const auto body = [](void* argument) -> void* {
        (*static_cast<Use*>(argument))();
        return nullptr;
    };
    pthread_t thread;
    if (pthread_create(&thread, nullptr, body, &use) == 0) pthread_join(thread, nullptr);
}

TEST(MutexDeathTest, UnknownCallerIsFatal) {
    static KLTptmutex mutex;
    constexpr Use uses[] = {
        [] { mutex.lock(); },        [] { mutex.lock(false); },     [] { mutex.release(); },
        [] { (void)mutex.lock(0); }, [] { (void)mutex.lock(1LL); },
    };
    for (const Use use : uses)
        EXPECT_EXIT(onForeignThread(use), testing::ExitedWithCode(statusOfMisuse),
                    "^KLFptcurrent\\(\\): Unknown thread!\r\n$");
}

} // namespace
