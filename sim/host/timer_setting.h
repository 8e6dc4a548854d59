// Settings of timers as the functions of libc take them.
#pragma once

#include "sim/host/deadline.h"
#include "sim/host/interval_timer.h"

#include <cstdint>
#include <optional>

namespace k4sim {

template <typename Time>
struct TimerSetting {
    Time interval;
    Time value;
};

// How many of the unit of a time's fraction are a microsecond.
inline constexpr std::int64_t in_nanoseconds = ns_per_us;
inline constexpr std::int64_t in_microseconds = 1;

template <typename Time>
Microseconds span_of(const Time& time, std::int64_t fractions_per_us) {
    return span_us(time.seconds, time.fraction * (ns_per_us / fractions_per_us));
}

template <typename Time>
bool is_valid(const TimerSetting<Time>& setting, std::int64_t fractions_per_us) {
    const auto valid = [&](const Time& time) {
        return time.seconds >= 0 && time.fraction >= 0 &&
               time.fraction < us_per_second * fractions_per_us;
    };
    return valid(setting.interval) && valid(setting.value);
}

template <typename Time>
void tell(TimerSetting<Time>* setting, const IntervalTimer& timer, std::int64_t fractions_per_us) {
    if (setting == nullptr) return;
    *setting = {};
    store(setting->interval, timer.interval(), fractions_per_us);
    store(setting->value, timer.left(), fractions_per_us);
}

// `clock`: of an absolute time; else the time is a span.
template <typename Time>
void arm(IntervalTimer& timer, const TimerSetting<Time>& setting, std::int64_t fractions_per_us,
         std::optional<clockid_t> clock = {}) {
    const Microseconds span = span_of(setting.value, fractions_per_us);
    const Microseconds first = span == 0 ? never
                               : clock   ? deadline_of(*clock, setting.value)
                                         : virtual_time_after(span);
    timer.arm(first, span_of(setting.interval, fractions_per_us));
}

} // namespace k4sim
