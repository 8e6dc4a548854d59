#include "sim/time/pace.h"

#include "sim/time/keep_errno.h"

#include <algorithm>
#include <poll.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace k4sim {

namespace {

constexpr Microseconds allowed_lead_us = 1000;
constexpr Microseconds longest_wait_us = 20'000; // of somebody who looks on
constexpr Microseconds no_end = std::numeric_limits<Microseconds>::max();
constexpr int clock_monotonic = 1;

// As the kernel's calls of this word size take it. The C library's functions of this
// name are stood in for.
struct KernelTime {
    long seconds = 0;
    long nanoseconds = 0;
};

KernelTime kernel_time(Microseconds duration) {
    return {static_cast<long>(duration / us_per_second),
            static_cast<long>(duration % us_per_second * ns_per_us)};
}

Microseconds real_now() {
    KernelTime now;
    syscall(SYS_clock_gettime, clock_monotonic, &now);
    return now.seconds * us_per_second + now.nanoseconds / ns_per_us;
}

} // namespace

void real_sleep(Microseconds duration) {
    const KernelTime time = kernel_time(duration);
    syscall(SYS_nanosleep, &time, nullptr);
}

void Pace::set(std::optional<double> factor, Microseconds now) {
    factor_ = factor;
    virtual_start_ = now;
    real_start_ = real_now();
    next_look_ = factor_ || onlooker_ != nullptr ? now : no_end;
}

void Pace::go_on(Microseconds now) {
    stop_.reset();
    set(factor_, now);
}

void Pace::set_onlooker(Onlooker* onlooker, Microseconds now) {
    onlooker_ = onlooker;
    set(factor_, now);
}

bool Pace::hold(Microseconds now, Microseconds next) {
    if (next < next_look_) return true;
    const KeepErrno keep_errno;
    next_look_ = now; // until all of it is held
    if (look(now, next)) return false;
    for (Microseconds ahead = lead(now, next); ahead > allowed_lead_us; ahead = lead(now, next)) {
        wait(ahead);
        if (look(now, next)) return false;
        if (onlooker_ == nullptr) break;
    }
    next_look_ = next + static_cast<Microseconds>(allowed_lead_us * factor_.value_or(1) / 2);
    return true;
}

bool Pace::look(Microseconds now, Microseconds next) {
    if (onlooker_ == nullptr) return false;
    const Microseconds real = real_now();
    const Microseconds latest = std::max(next, now + 1);
    const auto due =
        virtual_start_ +
        static_cast<Microseconds>(static_cast<double>(real - real_start_) * factor_.value_or(0));
    return onlooker_->look(real, std::clamp(due, now + 1, latest), latest);
}

// In real time.
Microseconds Pace::lead(Microseconds now, Microseconds next) const {
    if (stop_ && (next > *stop_ || now >= *stop_)) return no_end;
    if (!factor_) return 0;
    const auto due = real_start_ + static_cast<Microseconds>(
                                       static_cast<double>(next - virtual_start_) / *factor_);
    return due - real_now();
}

// A signal may be one that the program is to answer, for which it needs time.
void Pace::wait(Microseconds duration) {
    if (onlooker_ == nullptr) return real_sleep(duration);
    KernelTime time = kernel_time(std::min(duration, longest_wait_us));
    pollfd descriptor{onlooker_->descriptor(), POLLIN, 0};
    if (syscall(SYS_ppoll, &descriptor, 1, &time, nullptr, 0) < 0) stop_.reset();
}

} // namespace k4sim
