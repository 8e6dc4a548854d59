// Stand-ins for timers that are read as a file. The symbol's name stands in quotes.
//
// Limit: in the child of a fork they expire no more.
#include "sim/host/descriptors.h"
#include "sim/host/pipe_end.h"
#include "sim/host/real.h"
#include "sim/host/result.h"
#include "sim/host/threads.h"
#include "sim/host/timer_setting.h"
#include "sim/host/wire_time.h"

#include <cerrno>
#include <memory>
#include <sys/eventfd.h>
#include <sys/timerfd.h>
#include <unistd.h>

namespace k4sim {

namespace {

// It is a real event counter, to which expiries are added.
class TimerFile final : public EventCounter {
public:
    TimerFile(int descriptor, clockid_t clock)
        : EventCounter(descriptor), clock_(clock), timer_([descriptor] {
              static auto* const real_write =
                  real_function<ssize_t(int, const void*, std::size_t)>("write");
              const std::uint64_t once = 1;
              if (real_write(descriptor, &once, sizeof once) > 0) descriptors().changed();
          }) {}

    bool is_shared_after_fork() const override { return false; }
    ssize_t write(const void*, std::size_t) override { return -EINVAL; }

    clockid_t clock() const { return clock_; }
    IntervalTimer& timer() { return timer_; }

    // What has expired so far counts no more.
    void clear() {
        std::uint64_t count = 0;
        if (readable()) PipeEnd::read(&count, sizeof count);
    }

private:
    clockid_t clock_;
    IntervalTimer timer_;
};

int make_timer_file(int clock, int flags) {
    if (!clock_start(clock) || (flags & ~(TFD_NONBLOCK | TFD_CLOEXEC)) != 0)
        return libc_result(-EINVAL);
    static_assert(int{TFD_NONBLOCK} == int{EFD_NONBLOCK} && int{TFD_CLOEXEC} == int{EFD_CLOEXEC});
    const int descriptor = real_function<int(unsigned, int)>("eventfd")(0, flags);
    if (descriptor >= 0)
        descriptors().look_after(descriptor, std::make_unique<TimerFile>(descriptor, clock));
    return descriptor;
}

TimerFile* timer_file(int descriptor) {
    return at_call() ? dynamic_cast<TimerFile*>(descriptors().file(descriptor)) : nullptr;
}

template <typename Time>
int set_timer_file(const char* name, int descriptor, int flags, const TimerSetting<Time>* setting,
                   TimerSetting<Time>* former) {
    TimerFile* const file = timer_file(descriptor);
    if (file == nullptr)
        return real_function<int(int, int, const TimerSetting<Time>*, TimerSetting<Time>*)>(name)(
            descriptor, flags, setting, former);
    constexpr int known_flags = TFD_TIMER_ABSTIME | TFD_TIMER_CANCEL_ON_SET;
    if ((flags & ~known_flags) != 0 || !is_valid(*setting, in_nanoseconds))
        return libc_result(-EINVAL);
    tell(former, file->timer(), in_nanoseconds);
    file->clear();
    const bool absolute = (flags & TFD_TIMER_ABSTIME) != 0;
    arm(file->timer(), *setting, in_nanoseconds,
        absolute ? std::optional(file->clock()) : std::nullopt);
    return 0;
}

template <typename Time>
int get_timer_file(const char* name, int descriptor, TimerSetting<Time>* setting) {
    TimerFile* const file = timer_file(descriptor);
    if (file == nullptr)
        return real_function<int(int, TimerSetting<Time>*)>(name)(descriptor, setting);
    tell(setting, file->timer(), in_nanoseconds);
    return 0;
}

} // namespace

extern "C" {

int stand_in_timerfd_create(int clock, int flags) asm("timerfd_create");
int stand_in_timerfd_create(int clock, int flags) {
    if (at_call()) return make_timer_file(clock, flags);
    return real_function<int(int, int)>("timerfd_create")(clock, flags);
}

#define TIMER_FILE(prefix, Time, set_name, get_name)                                               \
    int prefix##_timerfd_settime(int descriptor, int flags, const TimerSetting<Time>* setting,     \
                                 TimerSetting<Time>* former) asm(set_name);                        \
    int prefix##_timerfd_settime(int descriptor, int flags, const TimerSetting<Time>* setting,     \
                                 TimerSetting<Time>* former) {                                     \
        return set_timer_file(set_name, descriptor, flags, setting, former);                       \
    }                                                                                              \
    int prefix##_timerfd_gettime(int descriptor, TimerSetting<Time>* setting) asm(get_name);       \
    int prefix##_timerfd_gettime(int descriptor, TimerSetting<Time>* setting) {                    \
        return get_timer_file(get_name, descriptor, setting);                                      \
    }

TIMER_FILE(plain, PlainTime, "timerfd_settime", "timerfd_gettime")
#ifdef __i386__
TIMER_FILE(wide, WideTime, "__timerfd_settime64", "__timerfd_gettime64")
#endif

#undef TIMER_FILE

} // extern "C"

} // namespace k4sim
