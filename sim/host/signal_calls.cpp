// Stand-ins for the wait for a signal, in virtual time. A signal from outside the virtual device
// is seen when that wait ends, or at once when it came before. The symbol's name stands in quotes.
#include "sim/host/deadline.h"
#include "sim/host/real.h"
#include "sim/host/result.h"
#include "sim/host/threads.h"
#include "sim/host/wire_time.h"
#include "sim/machine/signals.h"

#include <cerrno>
#include <csignal>

namespace k4sim {

namespace {

template <typename Time>
using Wait = int(const sigset_t*, siginfo_t*, const Time*);

template <typename Time>
int wait_for_signal(const char* name, const sigset_t* set, siginfo_t* info, const Time* time) {
    if (!belongs_to_program()) return real_function<Wait<Time>>(name)(set, info, time);
    if (time != nullptr && !valid_span(*time)) return libc_result(-EINVAL);
    const Time at_once{};
    const Microseconds deadline = deadline_after(time);
    for (;;) {
        const int signal = real_function<Wait<Time>>(name)(set, info, &at_once);
        if (signal > 0 || errno != EAGAIN) return signal;
        if (scheduler().now() >= deadline) return signal;
        wait_cancellable(signal_arrival(), deadline);
    }
}

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

} // extern "C"

} // namespace k4sim
