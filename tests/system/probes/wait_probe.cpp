// Each way to wait that is played in virtual time, as a row: it must end when another thread, or
// time, ends it. Prints the rows that do not.
#include <atomic>
#include <cerrno>
#include <cstdio>
#include <ctime>
#include <functional>
#include <future>
#include <mutex>
#include <poll.h>
#include <pthread.h>
#include <semaphore.h>
#include <sys/epoll.h>
#include <sys/eventfd.h>
#include <sys/select.h>
#include <thread>
#include <unistd.h>

namespace {

constexpr long pause_us = 100'000;
constexpr long slice_us = 1000; // of a thread that tries again and again

timespec now(clockid_t clock) {
    timespec time{};
    clock_gettime(clock, &time);
    return time;
}

timespec soon(clockid_t clock) {
    timespec time = now(clock);
    time.tv_nsec += pause_us * 1000;
    time.tv_sec += time.tv_nsec / 1'000'000'000;
    time.tv_nsec %= 1'000'000'000;
    return time;
}

sem_t semaphore;
pthread_rwlock_t lock;
pthread_barrier_t barrier;
pthread_spinlock_t spin_lock;
std::atomic<int> word;
std::promise<void> promised;
std::once_flag flag;

// Zero, or the error number of a function that sets errno.
int error_of(int result) { return result == 0 ? 0 : errno; }

struct Row {
    const char* name;
    int result; // of the wait
    std::function<int()> wait;
    std::function<void()> end = [] {};     // by the other thread
    std::function<void()> prepare = [] {}; // by the same, before the wait
};

// A lock that the other thread has until it ends.
std::function<void()> taken(int (*take)(pthread_rwlock_t*)) {
    return [take] {
        pthread_rwlock_init(&lock, nullptr);
        take(&lock);
    };
}
const auto release = [] { pthread_rwlock_unlock(&lock); };
const auto writing = taken(pthread_rwlock_wrlock), reading = taken(pthread_rwlock_rdlock);

pollfd counted{-1, POLLIN, 0}; // an event counter
epoll_event seen{};
const auto new_counter = [] {
    close(counted.fd);
    counted.fd = eventfd(0, 0);
};
const auto count = [] { eventfd_write(counted.fd, 1); };

int watching() {
    const int watcher = epoll_create1(0);
    epoll_event wanted{};
    wanted.events = EPOLLIN;
    epoll_ctl(watcher, EPOLL_CTL_ADD, counted.fd, &wanted);
    return watcher;
}

template <auto function>
int timed(auto* object) {
    const timespec end = soon(CLOCK_REALTIME);
    return function(object, &end);
}

template <auto function, clockid_t clock>
int by_clock(auto* object) {
    const timespec end = soon(clock);
    return function(object, clock, &end);
}

const Row rows[] = {
    {"sem_wait", 0, [] { return error_of(sem_wait(&semaphore)); }, [] { sem_post(&semaphore); }},
    {"sem_timedwait", ETIMEDOUT, [] { return error_of(timed<sem_timedwait>(&semaphore)); }},
    {"sem_clockwait", ETIMEDOUT,
     [] { return error_of(by_clock<sem_clockwait, CLOCK_MONOTONIC>(&semaphore)); }},
    {"sem_trywait", 0,
     [] {
         while (sem_trywait(&semaphore) != 0) {
         }
         return 0;
     },
     [] { sem_post(&semaphore); }},
    {"rwlock_rdlock", 0, [] { return pthread_rwlock_rdlock(&lock); }, release, writing},
    {"rwlock_wrlock", 0, [] { return pthread_rwlock_wrlock(&lock); }, release, reading},
    {"rwlock_timedrdlock", ETIMEDOUT, [] { return timed<pthread_rwlock_timedrdlock>(&lock); },
     release, writing},
    {"rwlock_timedwrlock", ETIMEDOUT, [] { return timed<pthread_rwlock_timedwrlock>(&lock); },
     release, reading},
    {"rwlock_clockrdlock", ETIMEDOUT,
     [] { return by_clock<pthread_rwlock_clockrdlock, CLOCK_MONOTONIC>(&lock); }, release, writing},
    {"rwlock_clockwrlock", ETIMEDOUT,
     [] { return by_clock<pthread_rwlock_clockwrlock, CLOCK_REALTIME>(&lock); }, release, reading},
    {"barrier", 0, [] { return pthread_barrier_wait(&barrier); },
     [] { pthread_barrier_wait(&barrier); }, [] { pthread_barrier_init(&barrier, nullptr, 2); }},
    {"spin_lock", 0, [] { return pthread_spin_lock(&spin_lock); },
     [] { pthread_spin_unlock(&spin_lock); },
     [] {
         pthread_spin_init(&spin_lock, PTHREAD_PROCESS_PRIVATE);
         pthread_spin_lock(&spin_lock);
     }},
    {"poll", 1, [] { return poll(&counted, 1, -1); }, count, new_counter},
    {"ppoll", 1, [] { return ppoll(&counted, 1, nullptr, nullptr); }, count, new_counter},
    {"ppoll, in vain", 0,
     [] {
         const timespec time{0, pause_us * 1000};
         return ppoll(&counted, 1, &time, nullptr);
     },
     [] {}, new_counter},
    {"pselect", 1,
     [] {
         fd_set set{};
         FD_SET(counted.fd, &set);
         return pselect(counted.fd + 1, &set, nullptr, nullptr, nullptr, nullptr);
     },
     count, new_counter},
    {"epoll_wait", 1, [] { return epoll_wait(watching(), &seen, 1, -1); }, count, new_counter},
    {"epoll_pwait", 0, [] { return epoll_pwait(watching(), &seen, 1, pause_us / 1000, nullptr); },
     [] {}, new_counter},
    {"eventfd", 0,
     [] {
         eventfd_t value = 0;
         return eventfd_read(counted.fd, &value);
     },
     count, new_counter},
    {"atomic wait", 0,
     [] {
         word.wait(0);
         return 0;
     },
     [] {
         word = 1;
         word.notify_one();
     }},
    {"future", 0,
     [] {
         promised.get_future().wait();
         return 0;
     },
     [] { promised.set_value(); }},
    {"call_once", 0,
     [] {
         std::call_once(flag, [] { std::puts("call_once: twice"); });
         return 0;
     },
     [] {}, [] { std::call_once(flag, [] { usleep(pause_us); }); }},
};

long us_since(const timespec& start) {
    const timespec end = now(CLOCK_MONOTONIC);
    return (end.tv_sec - start.tv_sec) * 1'000'000 + (end.tv_nsec - start.tv_nsec) / 1000;
}

bool holds(const Row& row) {
    std::thread other([&] {
        row.prepare();
        usleep(pause_us + (row.result == ETIMEDOUT ? pause_us : 0));
        row.end();
    });
    usleep(1);
    const timespec start = now(CLOCK_MONOTONIC);
    const int result = row.wait();
    const long us = us_since(start);
    other.join();
    const bool well =
        result == row.result && pause_us - slice_us <= us && us <= pause_us + slice_us;
    if (!well) std::printf("%s: %d after %ld us\n", row.name, result, us);
    return well;
}

} // namespace

int main() {
    sem_init(&semaphore, 0, 0);
    int failed = 0;
    for (const Row& row : rows)
        failed += !holds(row);
    return failed;
}
