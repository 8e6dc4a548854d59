// Stand-ins for the timer that every process has, and that sends SIGALRM. The symbol's name stands
// in quotes.
//
// Limits: timers of processor time are the real ones. A program that is executed inherits no timer,
// and one that runs when a child is made stands while that is waited for.
#include "sim/host/alarm.h"

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
#include <sys/time.h>
#include <unistd.h>

namespace k4sim {

namespace {

IntervalTimer& alarm_clock() {
    static auto* const only =
        new IntervalTimer([] { signal_process(made_signal(SIGALRM, SI_KERNEL)); });
    return *only;
}

bool is_ours(int which) { return at_call() && which == ITIMER_REAL && !has_child(); }

template <typename Time>
int set_alarm(const char* name, int which, const TimerSetting<Time>* setting,
              TimerSetting<Time>* former) {
    if (!is_ours(which))
        return real_function<int(int, const TimerSetting<Time>*, TimerSetting<Time>*)>(name)(
            which, setting, former);
    const TimerSetting<Time> wanted = setting != nullptr ? *setting : TimerSetting<Time>{};
    if (!is_valid(wanted, in_microseconds)) return libc_result(-EINVAL);
    tell(former, alarm_clock(), in_microseconds);
    arm(alarm_clock(), wanted, in_microseconds);
    return 0;
}

template <typename Time>
int get_alarm(const char* name, int which, TimerSetting<Time>* setting) {
    if (!is_ours(which)) return real_function<int(int, TimerSetting<Time>*)>(name)(which, setting);
    tell(setting, alarm_clock(), in_microseconds);
    return 0;
}

// What was left, in microseconds.
Microseconds exchange_alarm(Microseconds first, Microseconds interval) {
    const Microseconds left = alarm_clock().left();
    alarm_clock().arm(first == 0 ? never : virtual_time_after(first), interval);
    return left;
}

} // namespace

void forget_alarm() { alarm_clock().disarm(); }

extern "C" {

unsigned stand_in_alarm(unsigned seconds) asm("alarm");
unsigned stand_in_alarm(unsigned seconds) {
    if (!is_ours(ITIMER_REAL)) return real_function<unsigned(unsigned)>("alarm")(seconds);
    const Microseconds left = exchange_alarm(seconds * us_per_second, 0);
    // Rounded, but never to none.
    const Microseconds rounded = (left + us_per_second / 2) / us_per_second;
    return static_cast<unsigned>(left > 0 ? std::max<Microseconds>(rounded, 1) : 0);
}

useconds_t stand_in_ualarm(useconds_t first, useconds_t interval) asm("ualarm");
useconds_t stand_in_ualarm(useconds_t first, useconds_t interval) {
    if (!is_ours(ITIMER_REAL))
        return real_function<decltype(stand_in_ualarm)>("ualarm")(first, interval);
    return static_cast<useconds_t>(exchange_alarm(first, interval));
}

#define ALARM(prefix, Time, set_name, get_name)                                                    \
    int prefix##_setitimer(int which, const TimerSetting<Time>* setting,                           \
                           TimerSetting<Time>* former) asm(set_name);                              \
    int prefix##_setitimer(int which, const TimerSetting<Time>* setting,                           \
                           TimerSetting<Time>* former) {                                           \
        return set_alarm(set_name, which, setting, former);                                        \
    }                                                                                              \
    int prefix##_getitimer(int which, TimerSetting<Time>* setting) asm(get_name);                  \
    int prefix##_getitimer(int which, TimerSetting<Time>* setting) {                               \
        return get_alarm(get_name, which, setting);                                                \
    }

ALARM(plain, PlainTime, "setitimer", "getitimer")
#ifdef __i386__
ALARM(wide, WideTimeval, "__setitimer64", "__getitimer64")
#endif

#undef ALARM

} // extern "C"

} // namespace k4sim
