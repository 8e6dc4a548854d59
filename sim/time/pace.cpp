#include "sim/time/pace.h"

#include "sim/time/keep_errno.h"

#include <sys/syscall.h>
#include <unistd.h>

namespace k4sim {

namespace {

constexpr Microseconds allowed_lead_us = 1000;
constexpr int clock_monotonic = 1;

// As the kernel's calls of this word size take it. The C library's functions of this
// name are stood in for.
struct KernelTime {
    long seconds = 0;
    long nanoseconds = 0;
};

Microseconds real_now() {
    KernelTime now;
    syscall(SYS_clock_gettime, clock_monotonic, &now);
    return now.seconds * us_per_second + now.nanoseconds / ns_per_us;
}

} // namespace

void real_sleep(Microseconds duration) {
    const KernelTime time{static_cast<long>(duration / us_per_second),
                          static_cast<long>(duration % us_per_second * ns_per_us)};
    syscall(SYS_nanosleep, &time, nullptr);
}

void Pace::set(std::optional<double> factor, Microseconds now) {
    factor_ = factor;
    virtual_start_ = now;
    real_start_ = real_now();
    next_look_ = now;
}

void Pace::hold(Microseconds now) {
    if (!factor_ || now < next_look_) return;
    const KeepErrno keep_errno;
    const auto due = real_start_ + static_cast<Microseconds>(
                                       static_cast<double>(now - virtual_start_) / *factor_);
    const Microseconds lead = due - real_now();
    if (lead > allowed_lead_us) real_sleep(lead);
    next_look_ = now + static_cast<Microseconds>(allowed_lead_us * *factor_ / 2);
}

} // namespace k4sim
