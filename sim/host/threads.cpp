#include "sim/host/threads.h"

#include "sim/host/real.h"
#include "sim/host/signal_stack.h"
#include "sim/machine/machine.h"
#include "sim/time/unobserved.h"

#include <cerrno>

namespace k4sim {

namespace {

struct Start {
    Thread& thread;
    void* (*routine)(void*);
    void* argument;
};

// Ends the thread however it ends: by return, exit or cancellation.
class Leaving {
public:
    explicit Leaving(Thread& thread) : thread_(thread) {}
    ~Leaving() {
        machine().event("program", "thread-end", {{"thread", std::int64_t{thread_.id}}});
        scheduler().leave();
    }
    Leaving(const Leaving&) = delete;
    Leaving& operator=(const Leaving&) = delete;

private:
    Thread& thread_;
};

Start take(void* argument) {
    const Unobserved unobserved;
    const std::unique_ptr<Start> start(static_cast<Start*>(argument));
    return *start;
}

void* run_thread(void* argument) {
    const SignalStack signal_stack;
    scheduler().enter(static_cast<Start*>(argument)->thread);
    const Start start = take(argument);
    const Leaving leaving(start.thread);
    return start.routine(start.argument);
}

bool created_detached(const pthread_attr_t* attributes) {
    int state = PTHREAD_CREATE_JOINABLE;
    if (attributes != nullptr) pthread_attr_getdetachstate(attributes, &state);
    return state == PTHREAD_CREATE_DETACHED;
}

Cancellation cancellation_of_caller() {
    int state = PTHREAD_CANCEL_ENABLE;
    pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &state);
    pthread_setcancelstate(state, nullptr);
    return state == PTHREAD_CANCEL_ENABLE ? Cancellation::enabled : Cancellation::disabled;
}

// Cancellation leaves the frames of the stack without AddressSanitizer noticing, unless
// it is told before, as it is by the compiler where a function does not return.
void announce_unwinding() {
    static auto* const announce =
        reinterpret_cast<void (*)()>(dlsym(RTLD_DEFAULT, "__asan_handle_no_return"));
    if (announce != nullptr) announce();
}

int real_try(pthread_mutex_t* mutex) {
    static auto* const trylock = real_function<int(pthread_mutex_t*)>("pthread_mutex_trylock");
    return trylock(mutex);
}

// As libc keeps it: PTHREAD_MUTEX_ERRORCHECK among its bits, and who has it.
bool is_checked_and_own(const pthread_mutex_t* mutex) {
    constexpr int kind_bits = 3;
    return (mutex->__data.__kind & kind_bits) == PTHREAD_MUTEX_ERRORCHECK &&
           mutex->__data.__owner == gettid();
}

} // namespace

bool belongs_to_program() { return Scheduler::current() != nullptr; }

bool at_call() {
    if (!belongs_to_program()) return false;
    scheduler().point();
    return true;
}

void test_cancel() {
    if (Scheduler::current()->cancelled) announce_unwinding();
    static auto* const real_test = real_function<void()>("pthread_testcancel");
    real_test();
}

bool is_by_signal(WakeReason reason) {
    return reason == WakeReason::interrupted || reason == WakeReason::restarted;
}

bool ends_call(WakeReason reason, Microseconds deadline) {
    return reason == WakeReason::interrupted || (is_by_signal(reason) && deadline != never);
}

WakeReason wait_cancellable(const void* object, Microseconds deadline) {
    test_cancel();
    const WakeReason reason = scheduler().wait(object, deadline, cancellation_of_caller());
    test_cancel();
    return reason;
}

int create_thread(pthread_t* handle, const pthread_attr_t* attributes, void* (*routine)(void*),
                  void* argument) {
    static auto* const create =
        real_function<int(pthread_t*, const pthread_attr_t*, void* (*)(void*), void*)>(
            "pthread_create");
    if (machine().thread_create_fails()) return EAGAIN;
    Thread& thread = scheduler().add();
    thread.detached = created_detached(attributes);
    auto* start = new Start{thread, routine, argument};
    const int result = create(&thread.handle, attributes, run_thread, start);
    if (result != 0) {
        delete start;
        scheduler().remove(thread);
        return result;
    }
    *handle = thread.handle;
    machine().event("program", "thread-start", {{"thread", std::int64_t{thread.id}}});
    return 0;
}

int join_thread(pthread_t handle, void** result) {
    static auto* const join = real_function<int(pthread_t, void**)>("pthread_join");
    Thread* thread = scheduler().find(handle);
    if (thread == nullptr || thread == Scheduler::current() || thread->detached)
        return join(handle, result); // the thread is gone, or it is an error
    test_cancel();
    while (thread->state != Thread::State::ended)
        wait_cancellable(thread, never);
    scheduler().remove(*thread);
    return join(handle, result);
}

int detach_thread(pthread_t handle) {
    static auto* const detach = real_function<int(pthread_t)>("pthread_detach");
    if (Thread* thread = scheduler().find(handle)) {
        thread->detached = true;
        if (thread->state == Thread::State::ended) scheduler().remove(*thread);
    }
    return detach(handle);
}

int cancel_thread(pthread_t handle) {
    static auto* const cancel = real_function<int(pthread_t)>("pthread_cancel");
    const int result = cancel(handle);
    Thread* thread = scheduler().find(handle);
    if (result == 0 && thread != nullptr) scheduler().cancel(*thread);
    return result;
}

int lock_mutex(pthread_mutex_t* mutex, Microseconds deadline) {
    for (;;) {
        const int result = real_try(mutex);
        if (result != EBUSY) return result;
        if (is_checked_and_own(mutex)) return EDEADLK;
        if (scheduler().now() >= deadline) return ETIMEDOUT;
        scheduler().wait(mutex, deadline);
    }
}

int try_mutex(pthread_mutex_t* mutex) {
    const int result = real_try(mutex);
    if (result == EBUSY) scheduler().spend(access_us);
    return result;
}

int unlock_mutex(pthread_mutex_t* mutex) {
    static auto* const unlock = real_function<int(pthread_mutex_t*)>("pthread_mutex_unlock");
    const int result = unlock(mutex);
    if (result == 0) scheduler().wake_one(mutex);
    return result;
}

int wait_condition(pthread_cond_t* condition, pthread_mutex_t* mutex, Microseconds deadline) {
    test_cancel();
    if (const int result = unlock_mutex(mutex)) return result;
    const WakeReason reason = scheduler().wait(condition, deadline, cancellation_of_caller());
    const int result = lock_mutex(mutex, never);
    test_cancel();
    return result == 0 && reason == WakeReason::timed_out ? ETIMEDOUT : result;
}

int signal_condition(pthread_cond_t* condition) {
    static auto* const signal = real_function<int(pthread_cond_t*)>("pthread_cond_signal");
    scheduler().wake_one(condition);
    return signal(condition);
}

int broadcast_condition(pthread_cond_t* condition) {
    static auto* const broadcast = real_function<int(pthread_cond_t*)>("pthread_cond_broadcast");
    scheduler().wake_all(condition);
    return broadcast(condition);
}

} // namespace k4sim
