// Stand-ins for the waits for several descriptors at once, and for event counters. The symbol's
// name stands in quotes.
//
// Limit: epoll knows nothing of the virtual devices, and of a descriptor that another process
// or a connection makes ready it learns when something else happens.
#include "sim/host/deadline.h"
#include "sim/host/descriptors.h"
#include "sim/host/real.h"
#include "sim/host/result.h"
#include "sim/host/selection.h"
#include "sim/host/signal_mask.h"
#include "sim/host/threads.h"
#include "sim/host/wire_time.h"
#include "sim/time/scheduler.h"

#include <cerrno>
#include <sys/epoll.h>
#include <sys/eventfd.h>
#include <unistd.h>

namespace k4sim {

namespace {

template <typename Time>
int poll_masked(const char* name, pollfd* states, nfds_t count, const Time* time,
                const sigset_t* set) {
    if (!at_call())
        return real_function<int(pollfd*, nfds_t, const Time*, const sigset_t*)>(name)(
            states, count, time, set);
    if (time != nullptr && !valid_span(*time)) return libc_result(-EINVAL);
    test_cancel();
    const Masked masked(set);
    if (masked.interrupted()) return libc_result(-EINTR);
    return descriptors().poll(states, count, deadline_after(time));
}

template <typename Time>
int select_masked(const char* name, int count, fd_set* reading, fd_set* writing, fd_set* exceptions,
                  const Time* time, const sigset_t* set) {
    if (!at_call())
        return real_function<int(int, fd_set*, fd_set*, fd_set*, const Time*, const sigset_t*)>(
            name)(count, reading, writing, exceptions, time, set);
    if (time != nullptr && !valid_span(*time)) return libc_result(-EINVAL);
    const Masked masked(set);
    if (masked.interrupted()) return libc_result(-EINTR);
    return select_until(count, reading, writing, exceptions, deadline_after(time));
}

int wait_events(int descriptor, epoll_event* events, int room, int timeout_ms,
                const sigset_t* set) {
    static auto* const real_wait = real_function<int(int, epoll_event*, int, int)>("epoll_wait");
    if (!at_call()) return real_wait(descriptor, events, room, timeout_ms);
    test_cancel();
    const Masked masked(set);
    if (masked.interrupted()) return libc_result(-EINTR);
    const Microseconds deadline = deadline_after_ms(timeout_ms);
    for (;;) {
        const int ready = real_wait(descriptor, events, room, 0);
        if (ready != 0 || scheduler().now() >= deadline) return ready;
        if (is_by_signal(descriptors().wait_change(deadline))) return libc_result(-EINTR);
    }
}

} // namespace

extern "C" {

int plain_ppoll(pollfd* states, nfds_t count, const PlainTime* time,
                const sigset_t* set) asm("ppoll");
int plain_ppoll(pollfd* states, nfds_t count, const PlainTime* time, const sigset_t* set) {
    return poll_masked("ppoll", states, count, time, set);
}

int plain_pselect(int count, fd_set* reading, fd_set* writing, fd_set* exceptions,
                  const PlainTime* time, const sigset_t* set) asm("pselect");
int plain_pselect(int count, fd_set* reading, fd_set* writing, fd_set* exceptions,
                  const PlainTime* time, const sigset_t* set) {
    return select_masked("pselect", count, reading, writing, exceptions, time, set);
}

#ifdef __i386__
int wide_pselect(int count, fd_set* reading, fd_set* writing, fd_set* exceptions,
                 const WideTime* time, const sigset_t* set) asm("__pselect64");
int wide_pselect(int count, fd_set* reading, fd_set* writing, fd_set* exceptions,
                 const WideTime* time, const sigset_t* set) {
    return select_masked("__pselect64", count, reading, writing, exceptions, time, set);
}

int wide_ppoll(pollfd* states, nfds_t count, const WideTime* time,
               const sigset_t* set) asm("__ppoll64");
int wide_ppoll(pollfd* states, nfds_t count, const WideTime* time, const sigset_t* set) {
    return poll_masked("__ppoll64", states, count, time, set);
}
#endif

int stand_in_epoll_wait(int descriptor, epoll_event* events, int room,
                        int timeout_ms) asm("epoll_wait");
int stand_in_epoll_wait(int descriptor, epoll_event* events, int room, int timeout_ms) {
    return wait_events(descriptor, events, room, timeout_ms, nullptr);
}

int stand_in_epoll_pwait(int descriptor, epoll_event* events, int room, int timeout_ms,
                         const sigset_t* set) asm("epoll_pwait");
int stand_in_epoll_pwait(int descriptor, epoll_event* events, int room, int timeout_ms,
                         const sigset_t* set) {
    return wait_events(descriptor, events, room, timeout_ms, set);
}

int stand_in_eventfd(unsigned value, int flags) asm("eventfd");
int stand_in_eventfd(unsigned value, int flags) {
    const int descriptor = real_function<int(unsigned, int)>("eventfd")(value, flags);
    if (descriptor >= 0 && belongs_to_program()) descriptors().add_counter(descriptor);
    return descriptor;
}

// Inside libc they would go past the stand-ins.
int stand_in_eventfd_read(int descriptor, eventfd_t* value) asm("eventfd_read");
int stand_in_eventfd_read(int descriptor, eventfd_t* value) {
    return read(descriptor, value, sizeof *value) == sizeof *value ? 0 : -1;
}

int stand_in_eventfd_write(int descriptor, eventfd_t value) asm("eventfd_write");
int stand_in_eventfd_write(int descriptor, eventfd_t value) {
    return write(descriptor, &value, sizeof value) == sizeof value ? 0 : -1;
}

} // extern "C"

} // namespace k4sim
