// Stand-ins for semaphores, read-write locks, spin locks, barriers, what is done once, and the
// futex call, which C++ waits by for atomics, latches and futures. The objects are the real ones:
// what can't be had at once is waited for in virtual time, and tried again. A barrier only counts
// who waits. The symbol's name stands in quotes.
//
// Limit: an object that another process shares wakes nobody here.
#include "sim/host/deadline.h"
#include "sim/host/real.h"
#include "sim/host/result.h"
#include "sim/host/threads.h"
#include "sim/host/wire_time.h"
#include "sim/machine/machine.h"
#include "sim/time/system_call.h"

#include <cerrno>
#include <linux/futex.h>
#include <map>
#include <semaphore.h>
#include <set>
#include <sys/syscall.h>

namespace k4sim {

namespace {

// `attempt` gives 0 or an error number; at EBUSY it is made again when the object was given
// back, or the deadline has come: ETIMEDOUT. Where cancellation ends it, signals do so, too.
template <typename Attempt>
int take(const void* object, Microseconds deadline, Cancellation cancellation, Attempt attempt) {
    for (;;) {
        const int result = attempt();
        if (result != EBUSY) return result;
        if (scheduler().now() >= deadline) return ETIMEDOUT;
        if (cancellation == Cancellation::disabled)
            scheduler().wait(object, deadline);
        else if (ends_call(wait_cancellable(object, deadline), deadline))
            return EINTR;
    }
}

// One attempt: a failed one takes access_us, so that a loop of them comes to an end.
int tried(int result, int busy) {
    if (result == busy) scheduler().spend(access_us);
    return result;
}

int given_back(int result, const void* object) {
    if (result == 0) {
        scheduler().wake_all(object);
        scheduler().point();
    }
    return result;
}

// Semaphores.

int try_semaphore(sem_t* semaphore) {
    static auto* const real_try = real_function<int(sem_t*)>("sem_trywait");
    if (real_try(semaphore) == 0) return 0;
    return errno == EAGAIN ? EBUSY : errno;
}

int take_semaphore(sem_t* semaphore, Microseconds deadline) {
    test_cancel();
    return libc_result(-take(semaphore, deadline, Cancellation::enabled,
                             [&] { return try_semaphore(semaphore); }));
}

template <typename Time>
int take_semaphore_until(const char* name, sem_t* semaphore, const Time* time) {
    if (!at_call()) return real_function<int(sem_t*, const Time*)>(name)(semaphore, time);
    if (!valid_fraction(*time)) return libc_result(-EINVAL);
    return take_semaphore(semaphore, deadline_of(CLOCK_REALTIME, *time));
}

template <typename Time>
int take_semaphore_by(const char* name, sem_t* semaphore, clockid_t clock, const Time* time) {
    if (!at_call())
        return real_function<int(sem_t*, clockid_t, const Time*)>(name)(semaphore, clock, time);
    if (!clock_start(clock) || !valid_fraction(*time)) return libc_result(-EINVAL);
    return take_semaphore(semaphore, deadline_of(clock, *time));
}

// Read-write locks, for reading or writing by the name of the function that tries.

using RwLock = pthread_rwlock_t;

constexpr char try_read[] = "pthread_rwlock_tryrdlock";
constexpr char try_write[] = "pthread_rwlock_trywrlock";

int take_lock(const char* attempt, RwLock* lock, Microseconds deadline) {
    auto* const real_try = real_function<int(RwLock*)>(attempt);
    return take(lock, deadline, Cancellation::disabled, [&] { return real_try(lock); });
}

int take_lock(const char* name, const char* attempt, RwLock* lock) {
    if (at_call()) return take_lock(attempt, lock, never);
    return real_function<int(RwLock*)>(name)(lock);
}

int try_lock(const char* attempt, RwLock* lock) {
    const bool program = at_call();
    const int result = real_function<int(RwLock*)>(attempt)(lock);
    return program ? tried(result, EBUSY) : result;
}

template <typename Time>
int take_lock_by(const char* name, const char* attempt, RwLock* lock, clockid_t clock,
                 const Time* time) {
    if (!at_call())
        return real_function<int(RwLock*, clockid_t, const Time*)>(name)(lock, clock, time);
    if (!clock_start(clock) || !valid_fraction(*time)) return EINVAL;
    return take_lock(attempt, lock, deadline_of(clock, *time));
}

template <typename Time>
int take_lock_until(const char* name, const char* attempt, RwLock* lock, const Time* time) {
    if (!at_call()) return real_function<int(RwLock*, const Time*)>(name)(lock, time);
    if (!valid_fraction(*time)) return EINVAL;
    return take_lock(attempt, lock, deadline_of(CLOCK_REALTIME, *time));
}

// Barriers.

struct Barrier {
    unsigned needed = 0;
    unsigned waiting = 0;
    unsigned round = 0;
};

std::map<const pthread_barrier_t*, Barrier>& barriers() {
    static auto* const all = new std::map<const pthread_barrier_t*, Barrier>;
    return *all;
}

int meet(const pthread_barrier_t* place) {
    Barrier& barrier = barriers()[place];
    if (++barrier.waiting >= barrier.needed) {
        barrier.waiting = 0;
        ++barrier.round;
        scheduler().wake_all(place);
        return PTHREAD_BARRIER_SERIAL_THREAD;
    }
    for (const unsigned round = barrier.round; round == barrier.round;)
        scheduler().wait(place, never);
    return 0;
}

// What is done once. Inside libc who comes second would be held by the system.

std::set<const pthread_once_t*>& begun() {
    static auto* const all = new std::set<const pthread_once_t*>;
    return *all;
}

// Ends it also when the routine throws, or its thread is cancelled.
class Beginning {
public:
    explicit Beginning(const pthread_once_t* control) : control_(control) {
        while (begun().contains(control))
            scheduler().wait(control, never);
        begun().insert(control);
    }
    ~Beginning() {
        begun().erase(control_);
        scheduler().wake_all(control_);
    }
    Beginning(const Beginning&) = delete;
    Beginning& operator=(const Beginning&) = delete;

private:
    const pthread_once_t* control_;
};

// The futex call: the first argument is the word, then operation, value and time.

constexpr long not_ours = -2;

int wait_for_word(const std::atomic<int>* word, int expected, Microseconds deadline) {
    while (word->load() == expected) {
        const WakeReason reason = scheduler().wait(word, deadline);
        if (ends_call(reason, deadline)) return EINTR;
        if (!is_by_signal(reason)) return reason == WakeReason::timed_out ? ETIMEDOUT : 0;
    }
    return EAGAIN;
}

template <typename Time>
Microseconds futex_deadline(int operation, const Time* time) {
    if (time == nullptr || (operation & FUTEX_CMD_MASK) == FUTEX_WAIT) return deadline_after(time);
    const bool wall = (operation & FUTEX_CLOCK_REALTIME) != 0;
    return deadline_of(wall ? CLOCK_REALTIME : CLOCK_MONOTONIC, *time);
}

template <typename Time>
long futex(const std::atomic<int>* word, int operation, int value, const Time* time) {
    switch (operation & FUTEX_CMD_MASK) {
    case FUTEX_WAIT:
    case FUTEX_WAIT_BITSET:
        return libc_result(-wait_for_word(word, value, futex_deadline(operation, time)));
    case FUTEX_WAKE:
    case FUTEX_WAKE_BITSET: {
        int woken = 0;
        while (woken < value && scheduler().wake_one(word))
            ++woken;
        scheduler().point();
        return woken;
    }
    default:
        return not_ours;
    }
}

} // namespace

extern "C" {

int stand_in_sem_wait(sem_t* semaphore) asm("sem_wait");
int stand_in_sem_wait(sem_t* semaphore) {
    if (at_call()) return take_semaphore(semaphore, never);
    return real_function<int(sem_t*)>("sem_wait")(semaphore);
}

int stand_in_sem_trywait(sem_t* semaphore) asm("sem_trywait");
int stand_in_sem_trywait(sem_t* semaphore) {
    if (at_call())
        return libc_result(tried(try_semaphore(semaphore), EBUSY) == EBUSY ? -EAGAIN : 0);
    return real_function<int(sem_t*)>("sem_trywait")(semaphore);
}

int stand_in_sem_post(sem_t* semaphore) asm("sem_post");
int stand_in_sem_post(sem_t* semaphore) {
    const int result = real_function<int(sem_t*)>("sem_post")(semaphore);
    return belongs_to_program() ? given_back(result, semaphore) : result;
}

int stand_in_barrier_init(pthread_barrier_t* barrier, const pthread_barrierattr_t* attributes,
                          unsigned count) asm("pthread_barrier_init");
int stand_in_barrier_init(pthread_barrier_t* barrier, const pthread_barrierattr_t* attributes,
                          unsigned count) {
    const int result = real_function<decltype(stand_in_barrier_init)>("pthread_barrier_init")(
        barrier, attributes, count);
    if (result == 0 && belongs_to_program()) barriers()[barrier] = {count, 0, 0};
    return result;
}

int stand_in_barrier_wait(pthread_barrier_t* barrier) asm("pthread_barrier_wait");
int stand_in_barrier_wait(pthread_barrier_t* barrier) {
    if (at_call() && barriers().contains(barrier)) return meet(barrier);
    return real_function<int(pthread_barrier_t*)>("pthread_barrier_wait")(barrier);
}

int stand_in_once(pthread_once_t* control, void (*routine)()) asm("pthread_once");
int stand_in_once(pthread_once_t* control, void (*routine)()) {
    static auto* const real_once = real_function<decltype(stand_in_once)>("pthread_once");
    if (!belongs_to_program()) return real_once(control, routine);
    const Beginning beginning(control);
    return real_once(control, routine);
}

int stand_in_spin_lock(pthread_spinlock_t* lock) asm("pthread_spin_lock");
int stand_in_spin_lock(pthread_spinlock_t* lock) {
    if (!at_call()) return real_function<int(pthread_spinlock_t*)>("pthread_spin_lock")(lock);
    auto* const real_try = real_function<int(pthread_spinlock_t*)>("pthread_spin_trylock");
    return take(const_cast<const int*>(lock), never, Cancellation::disabled,
                [&] { return real_try(lock); });
}

int stand_in_spin_trylock(pthread_spinlock_t* lock) asm("pthread_spin_trylock");
int stand_in_spin_trylock(pthread_spinlock_t* lock) {
    const bool program = at_call();
    const int result = real_function<int(pthread_spinlock_t*)>("pthread_spin_trylock")(lock);
    return program ? tried(result, EBUSY) : result;
}

int stand_in_spin_unlock(pthread_spinlock_t* lock) asm("pthread_spin_unlock");
int stand_in_spin_unlock(pthread_spinlock_t* lock) {
    const int result = real_function<int(pthread_spinlock_t*)>("pthread_spin_unlock")(lock);
    return belongs_to_program() ? given_back(result, const_cast<const int*>(lock)) : result;
}

int stand_in_rdlock(RwLock* lock) asm("pthread_rwlock_rdlock");
int stand_in_rdlock(RwLock* lock) { return take_lock("pthread_rwlock_rdlock", try_read, lock); }

int stand_in_wrlock(RwLock* lock) asm("pthread_rwlock_wrlock");
int stand_in_wrlock(RwLock* lock) { return take_lock("pthread_rwlock_wrlock", try_write, lock); }

int stand_in_tryrdlock(RwLock* lock) asm("pthread_rwlock_tryrdlock");
int stand_in_tryrdlock(RwLock* lock) { return try_lock(try_read, lock); }

int stand_in_trywrlock(RwLock* lock) asm("pthread_rwlock_trywrlock");
int stand_in_trywrlock(RwLock* lock) { return try_lock(try_write, lock); }

int stand_in_rwunlock(RwLock* lock) asm("pthread_rwlock_unlock");
int stand_in_rwunlock(RwLock* lock) {
    const int result = real_function<int(RwLock*)>("pthread_rwlock_unlock")(lock);
    return belongs_to_program() ? given_back(result, lock) : result;
}

#define TIMED(prefix, Time, sem_timed, sem_clock, timed_read, clock_read, timed_write,             \
              clock_write)                                                                         \
    int prefix##_sem_timedwait(sem_t* semaphore, const Time* time) asm(sem_timed);                 \
    int prefix##_sem_timedwait(sem_t* semaphore, const Time* time) {                               \
        return take_semaphore_until(sem_timed, semaphore, time);                                   \
    }                                                                                              \
    int prefix##_sem_clockwait(sem_t* semaphore, clockid_t clock,                                  \
                               const Time* time) asm(sem_clock);                                   \
    int prefix##_sem_clockwait(sem_t* semaphore, clockid_t clock, const Time* time) {              \
        return take_semaphore_by(sem_clock, semaphore, clock, time);                               \
    }                                                                                              \
    int prefix##_timedrdlock(RwLock* lock, const Time* time) asm(timed_read);                      \
    int prefix##_timedrdlock(RwLock* lock, const Time* time) {                                     \
        return take_lock_until(timed_read, try_read, lock, time);                                  \
    }                                                                                              \
    int prefix##_clockrdlock(RwLock* lock, clockid_t clock, const Time* time) asm(clock_read);     \
    int prefix##_clockrdlock(RwLock* lock, clockid_t clock, const Time* time) {                    \
        return take_lock_by(clock_read, try_read, lock, clock, time);                              \
    }                                                                                              \
    int prefix##_timedwrlock(RwLock* lock, const Time* time) asm(timed_write);                     \
    int prefix##_timedwrlock(RwLock* lock, const Time* time) {                                     \
        return take_lock_until(timed_write, try_write, lock, time);                                \
    }                                                                                              \
    int prefix##_clockwrlock(RwLock* lock, clockid_t clock, const Time* time) asm(clock_write);    \
    int prefix##_clockwrlock(RwLock* lock, clockid_t clock, const Time* time) {                    \
        return take_lock_by(clock_write, try_write, lock, clock, time);                            \
    }

TIMED(plain, PlainTime, "sem_timedwait", "sem_clockwait", "pthread_rwlock_timedrdlock",
      "pthread_rwlock_clockrdlock", "pthread_rwlock_timedwrlock", "pthread_rwlock_clockwrlock")
#ifdef __i386__
TIMED(wide, WideTime, "__sem_timedwait64", "__sem_clockwait64", "__pthread_rwlock_timedrdlock64",
      "__pthread_rwlock_clockrdlock64", "__pthread_rwlock_timedwrlock64",
      "__pthread_rwlock_clockwrlock64")
#endif

#undef TIMED

// Every call of the system comes here that the program makes by its number; only waits by a
// futex are played. The library's own go past, as its threads hand over by them.
long stand_in_syscall(long number, long a, long b, long c, long d, long e, long f) asm("syscall");
long stand_in_syscall(long number, long a, long b, long c, long d, long e, long f) {
    long result = not_ours;
    // NOLINTBEGIN(performance-no-int-to-ptr): arguments of a call are numbers
    if (number == SYS_futex && at_call())
        result = futex(reinterpret_cast<const std::atomic<int>*>(a), static_cast<int>(b),
                       static_cast<int>(c), reinterpret_cast<const PlainTime*>(d));
#ifdef __i386__
    if (number == SYS_futex_time64 && at_call())
        result = futex(reinterpret_cast<const std::atomic<int>*>(a), static_cast<int>(b),
                       static_cast<int>(c), reinterpret_cast<const WideTime*>(d));
#endif
    // NOLINTEND(performance-no-int-to-ptr)
    return result == not_ours ? system_call()(number, a, b, c, d, e, f) : result;
}

} // extern "C"

} // namespace k4sim
