// Threads, and what they wait for, as C++ makes them of the calls that are stood in for.
#include "sim/machine/machine.h"
#include "sim/time/scheduler.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <condition_variable>
#include <cstring>
#include <fcntl.h>
#include <functional>
#include <gtest/gtest.h>
#include <mutex>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/select.h>
#include <sys/syscall.h>
#include <thread>
#include <unistd.h>

using namespace k4sim;
using namespace std::chrono_literals;

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
    std::timed_mutex taken;
    std::unique_lock lock(mutex_);
    std::jthread owner([&] {
        const std::lock_guard guard(taken);
        usleep(2'000'000);
    });
    usleep(10);
    using std::chrono::system_clock;
    const struct {
        std::function<bool()> wait;
        Microseconds looks_at_clocks;
    } cases[] = {
        {[&] { return taken.try_lock_for(300ms); }, 1},
        {[&] { return taken.try_lock_until(system_clock::now() + 300ms); }, 1},
        {[&] { return condition_.wait_for(lock, 300ms) == std::cv_status::no_timeout; }, 2},
        {[&] {
             return condition_.wait_until(lock, system_clock::now() + 300ms) ==
                    std::cv_status::no_timeout;
         },
         2},
    };
    for (const auto& [wait, looks_at_clocks] : cases) {
        const Microseconds begin = since_start();
        EXPECT_FALSE(wait());
        EXPECT_EQ(since_start(), begin + 300'000 + looks_at_clocks);
        EXPECT_EQ(pthread_mutex_trylock(mutex_.native_handle()), EBUSY); // held, or again
    }
    EXPECT_TRUE(taken.try_lock_for(10s));
    EXPECT_EQ(since_start(), 2'000'000);
    taken.unlock();
    const timespec wrong{0, 1'000'000'000};
    EXPECT_EQ(pthread_mutex_timedlock(taken.native_handle(), &wrong), EINVAL);
    EXPECT_EQ(pthread_cond_timedwait(condition_.native_handle(), mutex_.native_handle(), &wrong),
              EINVAL);
}

TEST_F(HostThreads, ALoopOfTriesComesToAnEnd) {
    mutex_.lock();
    std::jthread other([&] {
        while (!mutex_.try_lock()) {
        }
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
    const timespec long_time{100'000, 0};
    char c;
    const std::pair<const char*, std::function<void()>> bodies[] = {
        {"usleep", [] { usleep(1'000'000'000); }},
        {"nanosleep", [&] { nanosleep(&long_time, nullptr); }},
        {"join", [&] { pthread_join(other.native_handle(), nullptr); }},
        {"read", [&] { EXPECT_EQ(read(ends_[0], &c, 1), 1); }},
        {"select", [] { select(0, nullptr, nullptr, nullptr, nullptr); }},
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
        pthread_mutex_lock(mutex_.native_handle());
        note(1);
        pthread_mutex_unlock(mutex_.native_handle());
        pthread_testcancel();
        note(9);
    });
    usleep(1000);
    for (std::jthread* thread : {&sleeper, &locker})
        EXPECT_EQ(pthread_cancel(thread->native_handle()), 0);
    usleep(1000);
    EXPECT_EQ(order_, 0);
    lock.unlock();
    locker.join();
    EXPECT_EQ(since_start(), 2000);
    sleeper.join();
    EXPECT_EQ(since_start(), 5000);
    EXPECT_EQ(order_, 12);
}

TEST_F(HostThreads, AWriteLargerThanThePipeIsDoneAsItIsRead) {
    const std::string sent(300'000, 'x');
    std::jthread writer([&] {
        EXPECT_EQ(write(ends_[1], sent.data(), sent.size()), static_cast<ssize_t>(sent.size()));
        close(ends_[1]);
    });
    std::size_t received = 0;
    char part[10'000];
    errno = 33;
    while (const ssize_t size = read(ends_[0], part, sizeof part))
        received += static_cast<std::size_t>(size);
    EXPECT_EQ(received, sent.size());
    EXPECT_EQ(errno, 33);
    // Closed behind its back: another file, and the kernel's business.
    ASSERT_EQ(syscall(SYS_close, ends_[0]), 0);
    ASSERT_EQ(open("/proc/self/exe", O_RDONLY), ends_[0]);
    EXPECT_EQ(ioctl(ends_[0], FIONREAD, part), 0);
    const volatile std::size_t size = 4; // not known to the compiler, which has it checked
    EXPECT_EQ(read(ends_[0], part, size), 4);
}

// pselect is not stood in for.
TEST_F(HostThreads, SelectAnswersAsTheKernelDoes) {
    const auto expect_agreement = [&] {
        for (unsigned asked = 0; asked < 64; ++asked) {
            fd_set sets[2][3] = {};
            for (unsigned bit = 0; bit < 6; ++bit)
                for (auto& three : sets)
                    if ((asked >> bit & 1) != 0) FD_SET(ends_[bit % 2], &three[bit / 2]);
            timeval no_time{};
            const timespec none{};
            const int count = std::max(ends_[0], ends_[1]) + 1;
            EXPECT_EQ(select(count, &sets[0][0], &sets[0][1], &sets[0][2], &no_time),
                      pselect(count, &sets[1][0], &sets[1][1], &sets[1][2], &none, nullptr));
            EXPECT_EQ(std::memcmp(sets[0], sets[1], sizeof sets[0]), 0) << asked;
        }
    };
    expect_agreement();
    EXPECT_EQ(write(ends_[1], "x", 1), 1);
    expect_agreement();
    close(ends_[0]);
    ends_[0] = dup(ends_[1]);
    expect_agreement();
    close(ends_[0]);
    expect_agreement();
}

TEST_F(HostThreads, SelectWaitsInVirtualTimeAndTellsWhatIsLeft) {
    fd_set reading;
    const auto select_for = [&](timeval timeout, timeval left) {
        FD_ZERO(&reading);
        FD_SET(ends_[0], &reading);
        const int result = select(ends_[0] + 1, &reading, nullptr, nullptr, &timeout);
        EXPECT_EQ(timeout.tv_sec, left.tv_sec);
        EXPECT_EQ(timeout.tv_usec, left.tv_usec);
        return result;
    };
    EXPECT_EQ(select_for({1, 500'000}, {0, 0}), 0);
    EXPECT_EQ(since_start(), 1'500'000);
    EXPECT_EQ(write(ends_[1], "x", 1), 1);
    EXPECT_EQ(select_for({2, 7}, {2, 7}), 1);
    EXPECT_EQ(select_for({-1, 0}, {-1, 0}), -1);
    EXPECT_EQ(errno, EINVAL);
}

} // namespace
