// Stand-ins for the functions of libc on threads, mutexes and conditions. The symbol's
// name stands in quotes. Deadlines come as struct timespec, in 32-bit programs also
// with 64-bit times.
#include "sim/host/deadline.h"
#include "sim/host/real.h"
#include "sim/host/threads.h"
#include "sim/host/wire_time.h"

#include <cerrno>
#include <sched.h>

namespace k4sim {

namespace {

// The condition's attribute as glibc keeps it: bit 1 of the reference count.
clockid_t clock_of(const pthread_cond_t* condition) {
    return (condition->__data.__wrefs & 2) != 0 ? CLOCK_MONOTONIC : CLOCK_REALTIME;
}

template <typename Time>
int lock_by_clock(const char* name, pthread_mutex_t* mutex, clockid_t clock, const Time* time) {
    if (!at_call())
        return real_function<int(pthread_mutex_t*, clockid_t, const Time*)>(name)(mutex, clock,
                                                                                  time);
    if (!clock_start(clock) || !valid_fraction(*time)) return EINVAL;
    return lock_mutex(mutex, deadline_of(clock, *time));
}

template <typename Time>
int lock_until(const char* name, pthread_mutex_t* mutex, const Time* time) {
    if (!at_call()) return real_function<int(pthread_mutex_t*, const Time*)>(name)(mutex, time);
    if (!valid_fraction(*time)) return EINVAL;
    return lock_mutex(mutex, deadline_of(CLOCK_REALTIME, *time));
}

template <typename Time>
int wait_by_clock(const char* name, pthread_cond_t* condition, pthread_mutex_t* mutex,
                  clockid_t clock, const Time* time) {
    if (!at_call())
        return real_function<int(pthread_cond_t*, pthread_mutex_t*, clockid_t, const Time*)>(name)(
            condition, mutex, clock, time);
    if (!clock_start(clock) || !valid_fraction(*time)) return EINVAL;
    return wait_condition(condition, mutex, deadline_of(clock, *time));
}

template <typename Time>
int wait_until(const char* name, pthread_cond_t* condition, pthread_mutex_t* mutex,
               const Time* time) {
    if (!at_call())
        return real_function<int(pthread_cond_t*, pthread_mutex_t*, const Time*)>(name)(
            condition, mutex, time);
    if (!valid_fraction(*time)) return EINVAL;
    return wait_condition(condition, mutex, deadline_of(clock_of(condition), *time));
}

// Behind a call that lets another thread go on, it may do so at once.
int then_point(int result) {
    scheduler().point();
    return result;
}

} // namespace

extern "C" {

int stand_in_create(pthread_t* handle, const pthread_attr_t* attributes, void* (*routine)(void*),
                    void* argument) asm("pthread_create");
int stand_in_create(pthread_t* handle, const pthread_attr_t* attributes, void* (*routine)(void*),
                    void* argument) {
    if (belongs_to_program())
        return then_point(create_thread(handle, attributes, routine, argument));
    return real_function<decltype(stand_in_create)>("pthread_create")(handle, attributes, routine,
                                                                      argument);
}

int stand_in_join(pthread_t handle, void** result) asm("pthread_join");
int stand_in_join(pthread_t handle, void** result) {
    if (at_call()) return join_thread(handle, result);
    return real_function<decltype(stand_in_join)>("pthread_join")(handle, result);
}

int stand_in_detach(pthread_t handle) asm("pthread_detach");
int stand_in_detach(pthread_t handle) {
    if (at_call()) return detach_thread(handle);
    return real_function<decltype(stand_in_detach)>("pthread_detach")(handle);
}

int stand_in_cancel(pthread_t handle) asm("pthread_cancel");
int stand_in_cancel(pthread_t handle) {
    if (at_call()) return cancel_thread(handle);
    return real_function<decltype(stand_in_cancel)>("pthread_cancel")(handle);
}

void stand_in_testcancel() asm("pthread_testcancel");
void stand_in_testcancel() {
    if (belongs_to_program()) return test_cancel();
    real_function<decltype(stand_in_testcancel)>("pthread_testcancel")();
}

int stand_in_yield() asm("sched_yield");
int stand_in_yield() {
    if (!at_call()) return real_function<decltype(stand_in_yield)>("sched_yield")();
    look_at_clock(0);
    scheduler().yield();
    return 0;
}

int stand_in_lock(pthread_mutex_t* mutex) asm("pthread_mutex_lock");
int stand_in_lock(pthread_mutex_t* mutex) {
    if (at_call()) return lock_mutex(mutex, never);
    return real_function<decltype(stand_in_lock)>("pthread_mutex_lock")(mutex);
}

int stand_in_trylock(pthread_mutex_t* mutex) asm("pthread_mutex_trylock");
int stand_in_trylock(pthread_mutex_t* mutex) {
    if (at_call()) return try_mutex(mutex);
    return real_function<decltype(stand_in_trylock)>("pthread_mutex_trylock")(mutex);
}

int stand_in_unlock(pthread_mutex_t* mutex) asm("pthread_mutex_unlock");
int stand_in_unlock(pthread_mutex_t* mutex) {
    if (belongs_to_program()) return then_point(unlock_mutex(mutex));
    return real_function<decltype(stand_in_unlock)>("pthread_mutex_unlock")(mutex);
}

int plain_timedlock(pthread_mutex_t* mutex, const PlainTime* time) asm("pthread_mutex_timedlock");
int plain_timedlock(pthread_mutex_t* mutex, const PlainTime* time) {
    return lock_until("pthread_mutex_timedlock", mutex, time);
}

int plain_clocklock(pthread_mutex_t* mutex, clockid_t clock,
                    const PlainTime* time) asm("pthread_mutex_clocklock");
int plain_clocklock(pthread_mutex_t* mutex, clockid_t clock, const PlainTime* time) {
    return lock_by_clock("pthread_mutex_clocklock", mutex, clock, time);
}

int stand_in_cond_wait(pthread_cond_t* condition, pthread_mutex_t* mutex) asm("pthread_cond_wait");
int stand_in_cond_wait(pthread_cond_t* condition, pthread_mutex_t* mutex) {
    if (at_call()) return wait_condition(condition, mutex, never);
    return real_function<decltype(stand_in_cond_wait)>("pthread_cond_wait")(condition, mutex);
}

int plain_timedwait(pthread_cond_t* condition, pthread_mutex_t* mutex,
                    const PlainTime* time) asm("pthread_cond_timedwait");
int plain_timedwait(pthread_cond_t* condition, pthread_mutex_t* mutex, const PlainTime* time) {
    return wait_until("pthread_cond_timedwait", condition, mutex, time);
}

int plain_clockwait(pthread_cond_t* condition, pthread_mutex_t* mutex, clockid_t clock,
                    const PlainTime* time) asm("pthread_cond_clockwait");
int plain_clockwait(pthread_cond_t* condition, pthread_mutex_t* mutex, clockid_t clock,
                    const PlainTime* time) {
    return wait_by_clock("pthread_cond_clockwait", condition, mutex, clock, time);
}

int stand_in_cond_signal(pthread_cond_t* condition) asm("pthread_cond_signal");
int stand_in_cond_signal(pthread_cond_t* condition) {
    if (belongs_to_program()) return then_point(signal_condition(condition));
    return real_function<decltype(stand_in_cond_signal)>("pthread_cond_signal")(condition);
}

int stand_in_cond_broadcast(pthread_cond_t* condition) asm("pthread_cond_broadcast");
int stand_in_cond_broadcast(pthread_cond_t* condition) {
    if (belongs_to_program()) return then_point(broadcast_condition(condition));
    return real_function<decltype(stand_in_cond_broadcast)>("pthread_cond_broadcast")(condition);
}

#ifdef __i386__
int wide_timedlock(pthread_mutex_t* mutex, const WideTime* time) asm("__pthread_mutex_timedlock64");
int wide_timedlock(pthread_mutex_t* mutex, const WideTime* time) {
    return lock_until("__pthread_mutex_timedlock64", mutex, time);
}

int wide_clocklock(pthread_mutex_t* mutex, clockid_t clock,
                   const WideTime* time) asm("__pthread_mutex_clocklock64");
int wide_clocklock(pthread_mutex_t* mutex, clockid_t clock, const WideTime* time) {
    return lock_by_clock("__pthread_mutex_clocklock64", mutex, clock, time);
}

int wide_timedwait(pthread_cond_t* condition, pthread_mutex_t* mutex,
                   const WideTime* time) asm("__pthread_cond_timedwait64");
int wide_timedwait(pthread_cond_t* condition, pthread_mutex_t* mutex, const WideTime* time) {
    return wait_until("__pthread_cond_timedwait64", condition, mutex, time);
}

int wide_clockwait(pthread_cond_t* condition, pthread_mutex_t* mutex, clockid_t clock,
                   const WideTime* time) asm("__pthread_cond_clockwait64");
int wide_clockwait(pthread_cond_t* condition, pthread_mutex_t* mutex, clockid_t clock,
                   const WideTime* time) {
    return wait_by_clock("__pthread_cond_clockwait64", condition, mutex, clock, time);
}
#endif

} // extern "C"

} // namespace k4sim
