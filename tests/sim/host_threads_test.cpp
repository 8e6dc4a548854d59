#include "sim/machine/machine.h"
#include "sim/time/scheduler.h"

#include "program_threads.h"

#include <atomic>
#include <cerrno>
#include <fcntl.h>
#include <sys/select.h>
#include <sys/syscall.h>
#include <sys/time.h>
#include <unistd.h>

using namespace k4sim;

namespace {

class HostThreads : public testing::Test {
protected:
    Microseconds since_start() const { return scheduler().now() - start_; }

    // The wall clock that many microseconds from now. Looking at it takes time, too.
    timespec wall_clock_in(Microseconds us) {
        timespec time{};
        clock_gettime(CLOCK_REALTIME, &time);
        const Microseconds total = time.tv_nsec / 1000 + us;
        time.tv_sec += static_cast<time_t>(total / 1'000'000);
        time.tv_nsec = static_cast<long>(total % 1'000'000 * 1000);
        return time;
    }

    Microseconds start_ = scheduler().now();
    pthread_mutex_t mutex_ = PTHREAD_MUTEX_INITIALIZER;
    pthread_cond_t condition_ = PTHREAD_COND_INITIALIZER;
};

TEST_F(HostThreads, SleepersWakeInOrderOfTheirTimeAndAreJoinedInIt) {
    SharedText order;
    ProgramThread a([&] { usleep(3000), order.add('a'); });
    ProgramThread b([&] { usleep(1000), order.add('b'); });
    ProgramThread c([&] { usleep(2000), order.add('c'); });
    ProgramThread d([&] { usleep(2000), order.add('d'); });
    a.join();
    EXPECT_EQ(order.get(), "bcda");
    EXPECT_EQ(since_start(), 3000);
}

TEST_F(HostThreads, DetachedThreadLeavesNoRecord) {
    pthread_t thread{};
    const auto body = [](void* nothing) { return nothing; };
    ASSERT_EQ(pthread_create(&thread, nullptr, body, nullptr), 0);
    EXPECT_EQ(pthread_detach(thread), 0);
    EXPECT_NE(scheduler().find(thread), nullptr);
    usleep(1);
    EXPECT_EQ(scheduler().find(thread), nullptr);
}

TEST_F(HostThreads, RecursiveMutexIsFreeAfterTheLastUnlock) {
    pthread_mutexattr_t attributes;
    pthread_mutexattr_init(&attributes);
    pthread_mutexattr_settype(&attributes, PTHREAD_MUTEX_RECURSIVE);
    pthread_mutex_t mutex;
    pthread_mutex_init(&mutex, &attributes);
    pthread_mutex_lock(&mutex);
    pthread_mutex_lock(&mutex);
    std::atomic<Microseconds> acquired = 0;
    ProgramThread other([&] {
        pthread_mutex_lock(&mutex);
        acquired = since_start();
        pthread_mutex_unlock(&mutex);
    });
    usleep(1000);
    pthread_mutex_unlock(&mutex);
    usleep(1000);
    EXPECT_EQ(acquired, 0);
    pthread_mutex_unlock(&mutex);
    other.join();
    EXPECT_EQ(acquired, 2000);
}

TEST_F(HostThreads, TimedLockEndsExactlyOnTime) {
    ProgramThread owner([&] {
        pthread_mutex_lock(&mutex_);
        usleep(2'000'000);
        pthread_mutex_unlock(&mutex_);
    });
    usleep(10);
    const timespec half_a_second = wall_clock_in(500'000);
    const Microseconds asked = since_start();
    EXPECT_EQ(pthread_mutex_timedlock(&mutex_, &half_a_second), ETIMEDOUT);
    EXPECT_EQ(since_start(), asked + 500'000);
    const timespec late = wall_clock_in(10'000'000);
    EXPECT_EQ(pthread_mutex_timedlock(&mutex_, &late), 0);
    EXPECT_EQ(since_start(), 2'000'000);
    pthread_mutex_unlock(&mutex_);
}

TEST_F(HostThreads, ALoopOfTriesComesToAnEnd) {
    pthread_mutex_lock(&mutex_);
    ProgramThread other([&] {
        while (pthread_mutex_trylock(&mutex_) == EBUSY) {
        }
        pthread_mutex_unlock(&mutex_);
    });
    usleep(700);
    pthread_mutex_unlock(&mutex_);
    other.join();
    EXPECT_LT(since_start(), 3 * slice_us);
}

TEST_F(HostThreads, ConditionWakesAndTimesOut) {
    bool ready = false;
    ProgramThread waiter([&] {
        pthread_mutex_lock(&mutex_);
        while (!ready)
            EXPECT_EQ(pthread_cond_wait(&condition_, &mutex_), 0);
        pthread_mutex_unlock(&mutex_);
    });
    usleep(100);
    pthread_mutex_lock(&mutex_);
    ready = true;
    pthread_cond_signal(&condition_);
    pthread_mutex_unlock(&mutex_);
    waiter.join();
    EXPECT_EQ(since_start(), 100);

    pthread_mutex_lock(&mutex_);
    const timespec deadline = wall_clock_in(7000);
    EXPECT_EQ(pthread_cond_timedwait(&condition_, &mutex_, &deadline), ETIMEDOUT);
    EXPECT_EQ(since_start(), 7101);
    EXPECT_EQ(pthread_mutex_trylock(&mutex_), EBUSY); // held again
    pthread_mutex_unlock(&mutex_);
}

class Cancelled : public HostThreads {
protected:
    // The body waits for ever at a cancellation point.
    void expect_ends_at_once(const std::function<void()>& body) {
        std::atomic<bool> unwound = false;
        struct Unwinding {
            std::atomic<bool>& flag;
            ~Unwinding() { flag = true; }
        };
        const Microseconds begin = since_start();
        ProgramThread thread([&] {
            const Unwinding unwinding{unwound};
            body();
        });
        usleep(1000);
        EXPECT_EQ(pthread_cancel(thread.handle()), 0);
        EXPECT_FALSE(unwound); // only when it runs next
        EXPECT_EQ(thread.join(), PTHREAD_CANCELED);
        EXPECT_TRUE(unwound);
        EXPECT_EQ(since_start(), begin + 1000);
    }
};

TEST_F(Cancelled, AtEachCancellationPoint) {
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    ProgramThread other([] { usleep(2'000'000); });
    const std::pair<const char*, std::function<void()>> bodies[] = {
        {"usleep", [] { usleep(1'000'000'000); }},
        {"nanosleep",
         [] {
             const timespec long_time{100'000, 0};
             nanosleep(&long_time, nullptr);
         }},
        {"join", [&] { pthread_join(other.handle(), nullptr); }},
        {"read",
         [&] {
             char c;
             EXPECT_EQ(read(ends[0], &c, 1), 1);
         }},
        {"select", [] { select(0, nullptr, nullptr, nullptr, nullptr); }},
    };
    for (const auto& [name, body] : bodies) {
        SCOPED_TRACE(name);
        expect_ends_at_once(body);
    }
    close(ends[0]);
    close(ends[1]);
}

TEST_F(HostThreads, CancellationDoesNotWakeWhoHasDisabledIt) {
    std::atomic<Microseconds> woken = 0;
    ProgramThread thread([&] {
        pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, nullptr);
        usleep(5000);
        woken = since_start();
        pthread_setcancelstate(PTHREAD_CANCEL_ENABLE, nullptr);
        usleep(5000);
    });
    usleep(1000);
    pthread_cancel(thread.handle());
    EXPECT_EQ(thread.join(), PTHREAD_CANCELED);
    EXPECT_EQ(woken.load(), 5000);
    EXPECT_EQ(since_start(), 5000);
}

TEST_F(HostThreads, CancellationDoesNotWakeWhoWaitsForAMutex) {
    pthread_mutex_lock(&mutex_);
    std::atomic<bool> locked = false;
    ProgramThread thread([&] {
        pthread_mutex_lock(&mutex_);
        locked = true;
        pthread_mutex_unlock(&mutex_);
        pthread_testcancel();
    });
    usleep(1000);
    pthread_cancel(thread.handle());
    usleep(1000);
    EXPECT_FALSE(locked);
    pthread_mutex_unlock(&mutex_);
    EXPECT_EQ(thread.join(), PTHREAD_CANCELED);
    EXPECT_TRUE(locked);
}

class Pipe : public HostThreads {
protected:
    Pipe() { EXPECT_EQ(pipe2(ends_, O_CLOEXEC), 0); }
    ~Pipe() override {
        close(ends_[0]);
        close(ends_[1]);
    }
    int ends_[2];
};

TEST_F(Pipe, ReaderWaitsInVirtualTimeAndTakesWordsInOrder) {
    ProgramThread writer([&] {
        for (const int value : {1, 2}) {
            usleep(4000);
            EXPECT_EQ(write(ends_[1], &value, sizeof value), ssize_t{sizeof value});
        }
    });
    for (const int expected : {1, 2}) {
        int value = 0;
        EXPECT_EQ(read(ends_[0], &value, sizeof value), ssize_t{sizeof value});
        EXPECT_EQ(value, expected);
        EXPECT_EQ(since_start(), expected * 4000);
    }
}

TEST_F(Pipe, ClosedBehindItsBackIsForgotten) {
    ASSERT_EQ(syscall(SYS_close, ends_[0]), 0);
    const int other = open("/dev/null", O_RDONLY);
    ASSERT_EQ(other, ends_[0]);
    char c;
    EXPECT_EQ(read(other, &c, 1), 0); // and does not wait
}

TEST_F(Pipe, AWriteLargerThanThePipeIsDoneWhenItIsRead) {
    const std::string sent(300'000, 'x');
    ProgramThread writer([&] {
        EXPECT_EQ(write(ends_[1], sent.data(), sent.size()), static_cast<ssize_t>(sent.size()));
        close(ends_[1]);
    });
    std::size_t received = 0;
    char part[10'000];
    while (const ssize_t size = read(ends_[0], part, sizeof part)) {
        ASSERT_GT(size, 0);
        received += static_cast<std::size_t>(size);
        usleep(10);
    }
    EXPECT_EQ(received, sent.size());
}

TEST_F(Pipe, SelectSeesItReadableOrTimesOut) {
    fd_set reading;
    FD_ZERO(&reading);
    FD_SET(ends_[0], &reading);
    timeval timeout{1, 500'000};
    EXPECT_EQ(select(ends_[0] + 1, &reading, nullptr, nullptr, &timeout), 0);
    EXPECT_FALSE(FD_ISSET(ends_[0], &reading));
    EXPECT_EQ(since_start(), 1'500'000);
    EXPECT_EQ(timeout.tv_sec, 0);

    EXPECT_EQ(write(ends_[1], "x", 1), 1);
    FD_SET(ends_[0], &reading);
    timeout = {2, 0};
    EXPECT_EQ(select(ends_[0] + 1, &reading, nullptr, nullptr, &timeout), 1);
    EXPECT_TRUE(FD_ISSET(ends_[0], &reading));
    EXPECT_EQ(timeout.tv_sec, 2);
}

TEST_F(HostThreads, ErrnoSurvivesAHandOver) {
    ProgramThread other([] {
        errno = 7;
        usleep(100);
        EXPECT_EQ(errno, 7);
    });
    errno = 33;
    usleep(200);
    EXPECT_EQ(errno, 33);
}

} // namespace
