// Stand-ins for the functions of libc that read clocks and sleep. Each exists for the
// time types of this word size and, in 32-bit programs, under the name that takes 64-bit
// times; the symbol's name stands in quotes.
#include "sim/host/deadline.h"
#include "sim/host/real.h"
#include "sim/host/result.h"
#include "sim/host/threads.h"
#include "sim/host/wire_time.h"

#include <cerrno>
#include <sys/times.h>

namespace k4sim {

namespace {

template <typename Time>
int read_clock(const char* name, clockid_t clock, Time* time) {
    const auto start = clock_start(clock);
    if (!belongs_to_program() || !start)
        return real_function<int(clockid_t, Time*)>(name)(clock, time);
    store(*time, look_at_clock(*start), ns_per_us);
    return 0;
}

template <typename Time>
int read_wall_clock(const char* name, Time* time, void* zone) {
    if (!belongs_to_program()) return real_function<int(Time*, void*)>(name)(time, zone);
    store(*time, look_at_clock(*clock_start(CLOCK_REALTIME)), 1);
    return 0;
}

template <typename Seconds>
Seconds read_seconds(const char* name, Seconds* copy) {
    if (!belongs_to_program()) return real_function<Seconds(Seconds*)>(name)(copy);
    const auto seconds =
        static_cast<Seconds>(look_at_clock(*clock_start(CLOCK_REALTIME)) / us_per_second);
    if (copy != nullptr) *copy = seconds;
    return seconds;
}

// Of a sleep that ended with that error number, what is left when a signal has ended it.
template <typename Time>
int rest_of(int error, Microseconds end, Time* left) {
    if (error != 0 && left != nullptr) store(*left, end - scheduler().now(), ns_per_us);
    return error;
}

template <typename Time>
int sleep_for(const char* name, const Time* time, Time* left) {
    if (!belongs_to_program()) return real_function<int(const Time*, Time*)>(name)(time, left);
    if (!valid_span(*time)) return libc_result(-EINVAL);
    const Microseconds end = deadline_after(time);
    return libc_result(-rest_of(sleep_until(end), end, left));
}

template <typename Time>
int sleep_by_clock(const char* name, clockid_t clock, int flags, const Time* time, Time* left) {
    const auto start = clock_start(clock);
    if (!belongs_to_program() || !start)
        return real_function<int(clockid_t, int, const Time*, Time*)>(name)(clock, flags, time,
                                                                            left);
    if (!valid_span(*time)) return EINVAL;
    if ((flags & TIMER_ABSTIME) != 0) return sleep_until(deadline_of(clock, *time));
    const Microseconds end = deadline_after(time);
    return rest_of(sleep_until(end), end, left);
}

} // namespace

extern "C" {

int plain_clock_gettime(clockid_t clock, PlainTime* time) asm("clock_gettime");
int plain_clock_gettime(clockid_t clock, PlainTime* time) {
    return read_clock("clock_gettime", clock, time);
}

int plain_gettimeofday(PlainTime* time, void* zone) asm("gettimeofday");
int plain_gettimeofday(PlainTime* time, void* zone) {
    return read_wall_clock("gettimeofday", time, zone);
}

long plain_time(long* copy) asm("time");
long plain_time(long* copy) { return read_seconds("time", copy); }

int plain_nanosleep(const PlainTime* time, PlainTime* left) asm("nanosleep");
int plain_nanosleep(const PlainTime* time, PlainTime* left) {
    return sleep_for("nanosleep", time, left);
}

int plain_clock_nanosleep(clockid_t clock, int flags, const PlainTime* time,
                          PlainTime* left) asm("clock_nanosleep");
int plain_clock_nanosleep(clockid_t clock, int flags, const PlainTime* time, PlainTime* left) {
    return sleep_by_clock("clock_nanosleep", clock, flags, time, left);
}

#ifdef __i386__
int wide_clock_gettime(clockid_t clock, WideTime* time) asm("__clock_gettime64");
int wide_clock_gettime(clockid_t clock, WideTime* time) {
    return read_clock("__clock_gettime64", clock, time);
}

int wide_gettimeofday(WideTimeval* time, void* zone) asm("__gettimeofday64");
int wide_gettimeofday(WideTimeval* time, void* zone) {
    return read_wall_clock("__gettimeofday64", time, zone);
}

std::int64_t wide_time(std::int64_t* copy) asm("__time64");
std::int64_t wide_time(std::int64_t* copy) { return read_seconds("__time64", copy); }

int wide_nanosleep(const WideTime* time, WideTime* left) asm("__nanosleep64");
int wide_nanosleep(const WideTime* time, WideTime* left) {
    return sleep_for("__nanosleep64", time, left);
}

int wide_clock_nanosleep(clockid_t clock, int flags, const WideTime* time,
                         WideTime* left) asm("__clock_nanosleep_time64");
int wide_clock_nanosleep(clockid_t clock, int flags, const WideTime* time, WideTime* left) {
    return sleep_by_clock("__clock_nanosleep_time64", clock, flags, time, left);
}
#endif

int stand_in_usleep(unsigned us) asm("usleep");
int stand_in_usleep(unsigned us) {
    if (!belongs_to_program()) return real_function<int(unsigned)>("usleep")(us);
    return libc_result(-sleep_until(virtual_time_after(us)));
}

unsigned stand_in_sleep(unsigned seconds) asm("sleep");
unsigned stand_in_sleep(unsigned seconds) {
    if (!belongs_to_program()) return real_function<unsigned(unsigned)>("sleep")(seconds);
    const Microseconds end = virtual_time_after(span_us(seconds, 0));
    return sleep_until(end) == 0 ? 0
                                 : static_cast<unsigned>((end - scheduler().now()) / us_per_second);
}

clock_t stand_in_times(tms* used) asm("times");
clock_t stand_in_times(tms* used) {
    if (!belongs_to_program()) return real_function<clock_t(tms*)>("times")(used);
    if (used != nullptr) *used = tms{};
    return static_cast<clock_t>(look_at_clock(*clock_start(CLOCK_MONOTONIC)) / us_per_tick);
}

} // extern "C"

} // namespace k4sim
