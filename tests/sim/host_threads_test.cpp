// Threads, and what they wait for, as C++ makes them of the calls that are stood in for.
#include "sim/machine/machine.h"
#include "sim/time/scheduler.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <condition_variable>
#include <cstring>
#include <fcntl.h>
#include <functional>
#include <gtest/gtest.h>
#include <mutex>
#include <poll.h>
#include <sys/select.h>
#include <sys/syscall.h>
#include <thread>
#include <unistd.h>

using namespace k4sim;

namespace {

class HostThreads : public testing::Test {
protected:
    HostThreads() { EXPECT_EQ(pipe2(ends_, O_CLOEXEC), 0); }
    ~HostThreads() override {
        close(ends_[0]);
        close(ends_[1]);
    }

    Microseconds since_start() const { return scheduler().now() - start_; }
    void note(int number) { order_ = order_ * 10 + number; }

    const Microseconds start_ = scheduler().now();
    std::atomic<int> order_ = 0;
    std::mutex mutex_;
    std::condition_variable condition_;
    int ends_[2];
};

TEST_F(HostThreads, DetachedThreadLeavesNoRecord) {
    std::thread early([] { usleep(10); }), late([] {});
    const pthread_t handles[] = {early.native_handle(), late.native_handle()};
    early.detach();
    usleep(1);
    for (const pthread_t handle : handles)
        EXPECT_NE(scheduler().find(handle), nullptr);
    usleep(20);
    late.detach();
    for (const pthread_t handle : handles)
        EXPECT_EQ(scheduler().find(handle), nullptr);
}

TEST_F(HostThreads, AWaitWithADeadlineEndsExactlyThen) {
    std::mutex taken;
    std::jthread owner([&] {
        const std::lock_guard guard(taken);
        usleep(10'000'000);
    });
    const std::lock_guard lock(mutex_);
    usleep(10);
    pthread_mutex_t* const lost = taken.native_handle();
    pthread_mutex_t* const own = mutex_.native_handle();
    pthread_cond_t* const silent = condition_.native_handle();
    const auto expect_end = [&](clockid_t clock, auto wait, auto... arguments) {
        timespec time{};
        EXPECT_EQ(clock_gettime(clock, &time), 0);
        const Microseconds begin = since_start();
        ++time.tv_sec;
        EXPECT_EQ(wait(arguments..., &time), ETIMEDOUT);
        EXPECT_EQ(since_start(), begin + 1'000'000);
        EXPECT_EQ(pthread_mutex_trylock(own), EBUSY); // held, or again
        time.tv_nsec = 1'000'000'000;
        EXPECT_EQ(wait(arguments..., &time), EINVAL);
    };
    expect_end(CLOCK_REALTIME, pthread_mutex_timedlock, lost);
    expect_end(CLOCK_MONOTONIC, pthread_mutex_clocklock, lost, CLOCK_MONOTONIC);
    expect_end(CLOCK_REALTIME, pthread_cond_timedwait, silent, own);
    expect_end(CLOCK_MONOTONIC, pthread_cond_clockwait, silent, own, CLOCK_MONOTONIC);
    const std::lock_guard at_last(taken);
    EXPECT_EQ(since_start(), 10'000'000);
}

TEST_F(HostThreads, ALoopOfTriesComesToAnEnd) {
    mutex_.lock();
    std::jthread other([&] {
        while (!mutex_.try_lock())
            continue;
        mutex_.unlock();
    });
    usleep(700);
    mutex_.unlock();
    other.join();
    EXPECT_LT(since_start(), 3 * slice_us);
}

TEST_F(HostThreads, AConditionWakesWhoHasWaitedLongestOrAll) {
    const auto waiter = [&](int number) {
        return std::jthread([=, this] {
            std::unique_lock lock(mutex_);
            condition_.wait(lock);
            note(number);
        });
    };
    std::jthread threads[] = {waiter(1), waiter(2), waiter(3)};
    usleep(100);
    condition_.notify_one();
    usleep(100);
    EXPECT_EQ(order_, 1);
    condition_.notify_all();
    for (std::jthread& thread : threads)
        thread.join();
    EXPECT_EQ(order_, 123);
    EXPECT_EQ(since_start(), 200);
}

TEST_F(HostThreads, CancellationEndsAWaitAtOnce) {
    std::jthread other([] { usleep(2'000'000); });
    pollfd state{ends_[0], POLLIN, 0};
    char c;
    const std::pair<const char*, std::function<void()>> bodies[] = {
        {"usleep", [] { usleep(1'000'000'000); }},
        {"join", [&] { pthread_join(other.native_handle(), nullptr); }},
        {"read", [&] { EXPECT_EQ(read(ends_[0], &c, 1), 1); }},
        {"poll", [&] { poll(&state, 1, -1); }},
        {"condition",
         [&] { pthread_cond_wait(condition_.native_handle(), mutex_.native_handle()); }},
    };
    for (const auto& [name, body] : bodies) {
        SCOPED_TRACE(name);
        const Microseconds begin = since_start();
        std::jthread thread([&] {
            const std::lock_guard guard(mutex_); // given back as the stack is unwound
            body();
            ADD_FAILURE() << "not cancelled";
        });
        usleep(1000);
        EXPECT_EQ(pthread_cancel(thread.native_handle()), 0);
        thread.join();
        EXPECT_TRUE(mutex_.try_lock());
        mutex_.unlock();
        EXPECT_EQ(since_start(), begin + 1000);
    }
}

TEST_F(HostThreads, CancellationWaitsForWhoHasDisabledItOrWaitsForAMutex) {
    std::unique_lock lock(mutex_);
    std::jthread sleeper([&] {
        pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, nullptr);
        usleep(5000);
        note(2);
        pthread_setcancelstate(PTHREAD_CANCEL_ENABLE, nullptr);
        usleep(5000);
        note(9);
    });
    std::jthread locker([&] {
        const std::lock_guard guard(mutex_);
        note(1);
        pthread_testcancel();
        note(9);
    });
    usleep(1000);
    EXPECT_EQ(pthread_cancel(sleeper.native_handle()), 0);
    EXPECT_EQ(pthread_cancel(locker.native_handle()), 0);
    usleep(1000);
    lock.unlock();
    locker.join();
    EXPECT_EQ(since_start(), 2000);
    sleeper.join();
    EXPECT_EQ(since_start(), 5000);
    EXPECT_EQ(order_, 12);
}

// By its number a call of the system is not stood in for.
TEST_F(HostThreads, SelectAnswersAsTheKernelDoes) {
    const std::function<void()> changes[] = {
        [] {},
        [&] { EXPECT_EQ(write(ends_[1], "x", 1), 1); },
        [&] { EXPECT_EQ(dup2(ends_[1], ends_[0]), ends_[0]); },
        [&] { close(ends_[0]); },
    };
    for (const auto& change : changes) {
        change();
        for (unsigned asked = 0; asked < 64; ++asked) {
            fd_set sets[2][3] = {};
            for (unsigned bit = 0; bit < 6; ++bit)
                for (auto& three : sets)
                    if ((asked >> bit & 1) != 0) FD_SET(ends_[bit % 2], &three[bit / 2]);
            timeval no_time{};
            const long none[2] = {};
            const int count = std::max(ends_[0], ends_[1]) + 1;
            EXPECT_EQ(
                select(count, &sets[0][0], &sets[0][1], &sets[0][2], &no_time),
                syscall(SYS_pselect6, count, &sets[1][0], &sets[1][1], &sets[1][2], none, nullptr));
            EXPECT_EQ(std::memcmp(sets[0], sets[1], sizeof sets[0]), 0) << asked;
        }
    }
}

TEST_F(HostThreads, SelectTellsWhatIsLeftOfItsTime) {
    EXPECT_EQ(write(ends_[1], "x", 1), 1);
    fd_set reading{};
    FD_SET(ends_[0], &reading);
    timeval time{1, 500'007};
    EXPECT_EQ(select(ends_[0] + 1, &reading, nullptr, nullptr, &time), 1);
    EXPECT_EQ(time.tv_sec * 1'000'000 + time.tv_usec, 1'500'007);
    timeval wrong{-1, 0};
    EXPECT_EQ(select(0, nullptr, nullptr, nullptr, &wrong), -1);
    EXPECT_EQ(errno, EINVAL);
}

} // namespace
