// Stand-ins for the threads, mutexes and conditions of C, by those for POSIX threads, as which libc
// has them. Inside libc they would go past those. The symbol's name stands in quotes.
#include "sim/host/wire_time.h"

#include <cerrno>
#include <cstdint>
#include <memory>
#include <pthread.h>
#include <sched.h>
#include <threads.h>

namespace k4sim {

// The stand-ins for these, by the type of time.
int posix_sleep(const PlainTime* time, PlainTime* left) asm("nanosleep");
int posix_timedlock(pthread_mutex_t* mutex, const PlainTime* time) asm("pthread_mutex_timedlock");
int posix_timedwait(pthread_cond_t* condition, pthread_mutex_t* mutex,
                    const PlainTime* time) asm("pthread_cond_timedwait");
#ifdef __i386__
int posix_sleep(const WideTime* time, WideTime* left) asm("__nanosleep64");
int posix_timedlock(pthread_mutex_t* mutex,
                    const WideTime* time) asm("__pthread_mutex_timedlock64");
int posix_timedwait(pthread_cond_t* condition, pthread_mutex_t* mutex,
                    const WideTime* time) asm("__pthread_cond_timedwait64");
#endif

namespace {

pthread_mutex_t* posix(mtx_t* mutex) { return reinterpret_cast<pthread_mutex_t*>(mutex); }
pthread_cond_t* posix(cnd_t* condition) { return reinterpret_cast<pthread_cond_t*>(condition); }

int result_of(int error) {
    switch (error) {
    case 0:
        return thrd_success;
    case EBUSY:
        return thrd_busy;
    case ENOMEM:
        return thrd_nomem;
    case ETIMEDOUT:
        return thrd_timedout;
    default:
        return thrd_error;
    }
}

struct Body {
    thrd_start_t function;
    void* argument;
};

void* run_body(void* argument) {
    const Body body = *std::unique_ptr<Body>(static_cast<Body*>(argument));
    // NOLINTNEXTLINE(performance-no-int-to-ptr): as libc hands the result on
    return reinterpret_cast<void*>(static_cast<std::intptr_t>(body.function(body.argument)));
}

template <typename Time>
int sleep_for(const Time* time, Time* left) {
    if (posix_sleep(time, left) == 0) return 0;
    return errno == EINTR ? -1 : -2;
}

} // namespace

extern "C" {

int stand_in_thrd_create(thrd_t* handle, thrd_start_t function, void* argument) asm("thrd_create");
int stand_in_thrd_create(thrd_t* handle, thrd_start_t function, void* argument) {
    auto body = std::make_unique<Body>(Body{function, argument});
    const int error = pthread_create(handle, nullptr, run_body, body.get());
    if (error == 0) (void)body.release(); // it is the thread's
    return result_of(error);
}

int stand_in_thrd_join(thrd_t handle, int* result) asm("thrd_join");
int stand_in_thrd_join(thrd_t handle, int* result) {
    void* value = nullptr;
    const int error = pthread_join(handle, &value);
    if (error == 0 && result != nullptr)
        *result = static_cast<int>(reinterpret_cast<std::intptr_t>(value));
    return result_of(error);
}

int stand_in_thrd_detach(thrd_t handle) asm("thrd_detach");
int stand_in_thrd_detach(thrd_t handle) { return result_of(pthread_detach(handle)); }

void stand_in_thrd_yield() asm("thrd_yield");
void stand_in_thrd_yield() { sched_yield(); }

void stand_in_call_once(once_flag* flag, void (*routine)()) asm("call_once");
void stand_in_call_once(once_flag* flag, void (*routine)()) {
    pthread_once(reinterpret_cast<pthread_once_t*>(flag), routine);
}

int stand_in_mtx_lock(mtx_t* mutex) asm("mtx_lock");
int stand_in_mtx_lock(mtx_t* mutex) { return result_of(pthread_mutex_lock(posix(mutex))); }

int stand_in_mtx_trylock(mtx_t* mutex) asm("mtx_trylock");
int stand_in_mtx_trylock(mtx_t* mutex) { return result_of(pthread_mutex_trylock(posix(mutex))); }

int stand_in_mtx_unlock(mtx_t* mutex) asm("mtx_unlock");
int stand_in_mtx_unlock(mtx_t* mutex) { return result_of(pthread_mutex_unlock(posix(mutex))); }

int stand_in_cnd_wait(cnd_t* condition, mtx_t* mutex) asm("cnd_wait");
int stand_in_cnd_wait(cnd_t* condition, mtx_t* mutex) {
    return result_of(pthread_cond_wait(posix(condition), posix(mutex)));
}

int stand_in_cnd_signal(cnd_t* condition) asm("cnd_signal");
int stand_in_cnd_signal(cnd_t* condition) {
    return result_of(pthread_cond_signal(posix(condition)));
}

int stand_in_cnd_broadcast(cnd_t* condition) asm("cnd_broadcast");
int stand_in_cnd_broadcast(cnd_t* condition) {
    return result_of(pthread_cond_broadcast(posix(condition)));
}

// NOLINTBEGIN(bugprone-macro-parentheses): types, not expressions
#define TIMED(prefix, Time, sleep_name, lock_name, wait_name)                                      \
    int prefix##_thrd_sleep(const Time* time, Time* left) asm(sleep_name);                         \
    int prefix##_thrd_sleep(const Time* time, Time* left) { return sleep_for(time, left); }        \
    int prefix##_mtx_timedlock(mtx_t* mutex, const Time* time) asm(lock_name);                     \
    int prefix##_mtx_timedlock(mtx_t* mutex, const Time* time) {                                   \
        return result_of(posix_timedlock(posix(mutex), time));                                     \
    }                                                                                              \
    int prefix##_cnd_timedwait(cnd_t* condition, mtx_t* mutex, const Time* time) asm(wait_name);   \
    int prefix##_cnd_timedwait(cnd_t* condition, mtx_t* mutex, const Time* time) {                 \
        return result_of(posix_timedwait(posix(condition), posix(mutex), time));                   \
    }

TIMED(plain, PlainTime, "thrd_sleep", "mtx_timedlock", "cnd_timedwait")
#ifdef __i386__
TIMED(wide, WideTime, "__thrd_sleep64", "__mtx_timedlock64", "__cnd_timedwait64")
#endif

#undef TIMED
// NOLINTEND(bugprone-macro-parentheses)

} // extern "C"

} // namespace k4sim
