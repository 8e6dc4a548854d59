// Threads, mutexes and conditions of the program, on the scheduler.
#pragma once

#include "sim/time/scheduler.h"

#include <pthread.h>

namespace k4sim {

// Whether the calling thread belongs to the program. Every other thread, and everything
// before the library has started, is left to the real functions.
bool belongs_to_program();

// The same at the begin of a call, before which another thread may go on (Scheduler::point).
// Not while the caller holds a lock of libc's.
bool at_call();

// pthread_testcancel, such that a sanitizer keeps track of the stack.
void test_cancel();

// Whether a signal has ended the wait.
bool is_by_signal(WakeReason reason);

// Whether it ends a call that the system could begin anew. One with a deadline it does not.
bool ends_call(WakeReason reason, Microseconds deadline);

// A wait that is a cancellation point: a cancelled thread ends here.
WakeReason wait_cancellable(const void* object, Microseconds deadline);

int create_thread(pthread_t* handle, const pthread_attr_t* attributes, void* (*routine)(void*),
                  void* argument);
int join_thread(pthread_t handle, void** result);
int detach_thread(pthread_t handle);
int cancel_thread(pthread_t handle);

// Results as of pthread_mutex_lock; ETIMEDOUT at the deadline. The mutex itself is the
// real one, so a sanitizer sees who holds it.
int lock_mutex(pthread_mutex_t* mutex, Microseconds deadline);
// One try; a failed one takes access_us, so that a loop of tries comes to an end.
int try_mutex(pthread_mutex_t* mutex);
int unlock_mutex(pthread_mutex_t* mutex);

// A cancellation point; the mutex is held again when the thread ends there.
int wait_condition(pthread_cond_t* condition, pthread_mutex_t* mutex, Microseconds deadline);
int signal_condition(pthread_cond_t* condition);
int broadcast_condition(pthread_cond_t* condition);

} // namespace k4sim
