// Stand-ins for timers that send a signal of the program's choice. The symbol's name stands in
// quotes.
//
// Limits: those of processor time, and those that call a function on a thread of its own
// (SIGEV_THREAD), are the real ones.
#include "sim/host/signal_timers.h"

#include "sim/host/children.h"
#include "sim/host/real.h"
#include "sim/host/result.h"
#include "sim/host/threads.h"
#include "sim/host/timer_setting.h"
#include "sim/host/wire_time.h"
#include "sim/time/signals.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <limits>
#include <map>
#include <memory>

namespace k4sim {

namespace {

class SignalTimer {
public:
    SignalTimer(clockid_t clock, const siginfo_t& signal, std::optional<pid_t> thread)
        : clock_(clock), signal_(signal), thread_(thread), timer_([this] { expire(); }) {}

    clockid_t clock() const { return clock_; }
    IntervalTimer& timer() { return timer_; }

    // Expiries that found the signal of an earlier one not handled yet.
    int overrun() const { return overrun_; }

private:
    void expire() {
        if (signal_.si_signo == 0) return;
        overrun_ = send() ? 0 : std::min(overrun_, std::numeric_limits<int>::max() - 1) + 1;
    }

    bool send() const {
        if (!thread_) return signal_process(signal_);
        for (const auto& thread : scheduler().threads())
            if (thread->system_id == *thread_) return signal_thread(*thread, signal_);
        return true;
    }

    clockid_t clock_;
    siginfo_t signal_;
    std::optional<pid_t> thread_;
    int overrun_ = 0;
    IntervalTimer timer_;
};

std::map<timer_t, std::unique_ptr<SignalTimer>>& signal_timers() {
    static auto* const all = new std::map<timer_t, std::unique_ptr<SignalTimer>>;
    return *all;
}

SignalTimer* signal_timer(timer_t id) {
    if (!at_call()) return nullptr;
    const auto found = signal_timers().find(id);
    return found == signal_timers().end() ? nullptr : found->second.get();
}

bool has_signal(int kind) { return kind == SIGEV_SIGNAL || kind == SIGEV_THREAD_ID; }

int make_signal_timer(clockid_t clock, const sigevent* notice, timer_t* id) {
    sigevent event{}; // by default SIGALRM
    event.sigev_signo = SIGALRM;
    if (notice != nullptr) event = *notice;
    const int kind = event.sigev_notify;
    if (has_signal(kind) && (event.sigev_signo < 1 || event.sigev_signo >= NSIG))
        return libc_result(-EINVAL);
    siginfo_t signal{};
    signal.si_signo = has_signal(kind) ? event.sigev_signo : 0;
    signal.si_code = SI_TIMER;
    signal.si_value = event.sigev_value;
    const auto thread =
        kind == SIGEV_THREAD_ID ? std::optional(event._sigev_un._tid) : std::optional<pid_t>();
    auto timer = std::make_unique<SignalTimer>(clock, signal, thread);
    *id = timer.get();
    signal_timers()[*id] = std::move(timer);
    return 0;
}

template <typename Time>
int set_signal_timer(const char* name, timer_t id, int flags, const TimerSetting<Time>* setting,
                     TimerSetting<Time>* former) {
    SignalTimer* const timer = signal_timer(id);
    if (timer == nullptr)
        return real_function<int(timer_t, int, const TimerSetting<Time>*, TimerSetting<Time>*)>(
            name)(id, flags, setting, former);
    if (!is_valid(*setting, in_nanoseconds)) return libc_result(-EINVAL);
    tell(former, timer->timer(), in_nanoseconds);
    const bool absolute = (flags & TIMER_ABSTIME) != 0;
    arm(timer->timer(), *setting, in_nanoseconds,
        absolute ? std::optional(timer->clock()) : std::nullopt);
    return 0;
}

template <typename Time>
int get_signal_timer(const char* name, timer_t id, TimerSetting<Time>* setting) {
    SignalTimer* const timer = signal_timer(id);
    if (timer == nullptr)
        return real_function<int(timer_t, TimerSetting<Time>*)>(name)(id, setting);
    tell(setting, timer->timer(), in_nanoseconds);
    return 0;
}

} // namespace

void forget_signal_timers() { signal_timers().clear(); }

extern "C" {

int stand_in_timer_create(clockid_t clock, sigevent* event, timer_t* id) asm("timer_create");
int stand_in_timer_create(clockid_t clock, sigevent* event, timer_t* id) {
    const bool by_thread = event != nullptr && event->sigev_notify == SIGEV_THREAD;
    if (at_call() && clock_start(clock) && !by_thread && !has_child())
        return make_signal_timer(clock, event, id);
    return real_function<decltype(stand_in_timer_create)>("timer_create")(clock, event, id);
}

int stand_in_timer_delete(timer_t id) asm("timer_delete");
int stand_in_timer_delete(timer_t id) {
    if (at_call() && signal_timers().erase(id) > 0) return 0;
    return real_function<decltype(stand_in_timer_delete)>("timer_delete")(id);
}

int stand_in_timer_getoverrun(timer_t id) asm("timer_getoverrun");
int stand_in_timer_getoverrun(timer_t id) {
    const SignalTimer* const timer = signal_timer(id);
    if (timer != nullptr) return timer->overrun();
    return real_function<decltype(stand_in_timer_getoverrun)>("timer_getoverrun")(id);
}

#define SIGNAL_TIMER(prefix, Time, set_name, get_name)                                             \
    int prefix##_timer_settime(timer_t id, int flags, const TimerSetting<Time>* setting,           \
                               TimerSetting<Time>* former) asm(set_name);                          \
    int prefix##_timer_settime(timer_t id, int flags, const TimerSetting<Time>* setting,           \
                               TimerSetting<Time>* former) {                                       \
        return set_signal_timer(set_name, id, flags, setting, former);                             \
    }                                                                                              \
    int prefix##_timer_gettime(timer_t id, TimerSetting<Time>* setting) asm(get_name);             \
    int prefix##_timer_gettime(timer_t id, TimerSetting<Time>* setting) {                          \
        return get_signal_timer(get_name, id, setting);                                            \
    }

SIGNAL_TIMER(plain, PlainTime, "timer_settime", "timer_gettime")
#ifdef __i386__
SIGNAL_TIMER(wide, WideTime, "__timer_settime64", "__timer_gettime64")
#endif

#undef SIGNAL_TIMER

} // extern "C"

} // namespace k4sim
