// Stand-ins for the wait for a signal, in virtual time, for signals to the program itself, and for
// what is done about one. The symbol's name stands in quotes.
#include "sim/host/children.h"
#include "sim/host/deadline.h"
#include "sim/host/death_watch.h"
#include "sim/host/real.h"
#include "sim/host/result.h"
#include "sim/host/signal_mask.h"
#include "sim/host/threads.h"
#include "sim/host/wire_time.h"
#include "sim/time/signals.h"

#include <cerrno>
#include <csignal>
#include <unistd.h>

namespace k4sim {

namespace {

// Whether a signal that is waited for can come in real time only: from a child, or, to a thread
// alone that has no timer, from anyone.
bool comes_from_outside() { return scheduler().waits_for_the_outside() || has_child(); }

template <typename Time>
using Wait = int(const sigset_t*, siginfo_t*, const Time*);

template <typename Time>
int wait_for_signal(const char* name, const sigset_t* set, siginfo_t* info, const Time* time) {
    if (!belongs_to_program()) return real_function<Wait<Time>>(name)(set, info, time);
    if (time != nullptr && !valid_span(*time)) return libc_result(-EINVAL);
    if (time == nullptr && comes_from_outside())
        return real_function<Wait<Time>>(name)(set, info, time);
    const Time at_once{};
    const Microseconds deadline = deadline_after(time);
    for (;;) {
        const int signal = real_function<Wait<Time>>(name)(set, info, &at_once);
        if (signal > 0 || errno != EAGAIN) return signal;
        if (scheduler().now() >= deadline) return signal;
        const WakeReason reason = wait_cancellable(signal_arrival(), deadline);
        if (is_by_signal(reason)) return libc_result(-EINTR);
    }
}

// Until one was handled.
int pause_for_signal(const sigset_t& blocked) {
    if (comes_from_outside()) return real_function<int(const sigset_t*)>("sigsuspend")(&blocked);
    while (!is_by_signal(wait_cancellable(nullptr, never))) {
    }
    return libc_result(-EINTR);
}

bool is_number(int number) { return number > 0 && number < NSIG; }

// To a thread that is not the caller: it handles the signal when it has its turn. What the caller
// sends to itself, what is only to be probed, and what stops or kills, is the system's to do.
bool is_ours_to_send(const Thread* target, int number) {
    return target != nullptr && target != Scheduler::current() &&
           target->state != Thread::State::ended && is_number(number) && number != SIGKILL &&
           number != SIGSTOP;
}

// By `send` of the system, which may leave it pending.
template <typename Send>
int send_to(Thread* target, const siginfo_t& signal, Send send) {
    if (!is_ours_to_send(target, signal.si_signo)) {
        const int result = send();
        if (result == 0) tell_of_pending_signal();
        return result;
    }
    signal_thread(*target, signal);
    return 0;
}

siginfo_t queued(int number, const sigval& value) {
    siginfo_t signal = made_signal(number, SI_QUEUE);
    signal.si_value = value;
    return signal;
}

bool is_to_itself(pid_t process) { return belongs_to_program() && process == getpid(); }

} // namespace

extern "C" {

int plain_sigtimedwait(const sigset_t* set, siginfo_t* info,
                       const PlainTime* time) asm("sigtimedwait");
int plain_sigtimedwait(const sigset_t* set, siginfo_t* info, const PlainTime* time) {
    return wait_for_signal("sigtimedwait", set, info, time);
}

#ifdef __i386__
int wide_sigtimedwait(const sigset_t* set, siginfo_t* info,
                      const WideTime* time) asm("__sigtimedwait64");
int wide_sigtimedwait(const sigset_t* set, siginfo_t* info, const WideTime* time) {
    return wait_for_signal("__sigtimedwait64", set, info, time);
}
#endif

int stand_in_sigwaitinfo(const sigset_t* set, siginfo_t* info) asm("sigwaitinfo");
int stand_in_sigwaitinfo(const sigset_t* set, siginfo_t* info) {
    return plain_sigtimedwait(set, info, nullptr);
}

// Goes on when another signal is handled.
int stand_in_sigwait(const sigset_t* set, int* number) asm("sigwait");
int stand_in_sigwait(const sigset_t* set, int* number) {
    if (!belongs_to_program())
        return real_function<decltype(stand_in_sigwait)>("sigwait")(set, number);
    int signal = -1;
    do {
        signal = plain_sigtimedwait(set, nullptr, nullptr);
    } while (signal < 0 && errno == EINTR);
    if (signal < 0) return errno;
    *number = signal;
    return 0;
}

int stand_in_pause() asm("pause");
int stand_in_pause() {
    if (!at_call()) return real_function<decltype(stand_in_pause)>("pause")();
    sigset_t blocked{};
    pthread_sigmask(SIG_SETMASK, nullptr, &blocked);
    return pause_for_signal(blocked);
}

int stand_in_sigsuspend(const sigset_t* set) asm("sigsuspend");
int stand_in_sigsuspend(const sigset_t* set) {
    if (!at_call()) return real_function<decltype(stand_in_sigsuspend)>("sigsuspend")(set);
    const Masked masked(set);
    return masked.interrupted() ? libc_result(-EINTR) : pause_for_signal(*set);
}

// Where the program has the default, it is watched for its death. A sanitizer that starts comes
// here, too: it would not survive the guard of a static variable.
int stand_in_sigaction(int number, const struct sigaction* action,
                       struct sigaction* former) asm("sigaction");
int stand_in_sigaction(int number, const struct sigaction* action, struct sigaction* former) {
    auto* const real_sigaction = real_function<decltype(stand_in_sigaction)>("sigaction");
    const bool by_default = action != nullptr && action->sa_handler == SIG_DFL;
    const int result = real_sigaction(number, action, former);
    if (result == 0 && by_default) watch_default(number);
    if (result == 0 && former != nullptr && is_death_watch(*former)) *former = {};
    return result;
}

using Handler = void (*)(int);

Handler stand_in_signal(int number, Handler handler) asm("signal");
Handler stand_in_signal(int number, Handler handler) {
    struct sigaction former {};
    const bool known = stand_in_sigaction(number, nullptr, &former) == 0;
    const Handler result = real_function<decltype(stand_in_signal)>("signal")(number, handler);
    if (result != SIG_ERR && handler == SIG_DFL) watch_default(number);
    return result != SIG_ERR && known ? former.sa_handler : result;
}

int stand_in_kill(pid_t process, int number) asm("kill");
int stand_in_kill(pid_t process, int number) {
    const auto send = [&] { return real_function<int(pid_t, int)>("kill")(process, number); };
    if (!is_to_itself(process) || !is_number(number)) return send();
    return send_to(acceptor_of(number), made_signal(number, SI_USER), send);
}

int stand_in_sigqueue(pid_t process, int number, const sigval value) asm("sigqueue");
int stand_in_sigqueue(pid_t process, int number, const sigval value) {
    const auto send = [&] {
        return real_function<int(pid_t, int, sigval)>("sigqueue")(process, number, value);
    };
    if (!is_to_itself(process) || !is_number(number)) return send();
    return send_to(acceptor_of(number), queued(number, value), send);
}

int stand_in_pthread_kill(pthread_t handle, int number) asm("pthread_kill");
int stand_in_pthread_kill(pthread_t handle, int number) {
    const auto send = [&] {
        return real_function<int(pthread_t, int)>("pthread_kill")(handle, number);
    };
    if (!belongs_to_program()) return send();
    return send_to(scheduler().find(handle), made_signal(number, SI_TKILL), send);
}

int stand_in_pthread_sigqueue(pthread_t handle, int number,
                              const sigval value) asm("pthread_sigqueue");
int stand_in_pthread_sigqueue(pthread_t handle, int number, const sigval value) {
    const auto send = [&] {
        return real_function<int(pthread_t, int, sigval)>("pthread_sigqueue")(handle, number,
                                                                              value);
    };
    if (!belongs_to_program()) return send();
    return send_to(scheduler().find(handle), queued(number, value), send);
}

} // extern "C"

} // namespace k4sim
