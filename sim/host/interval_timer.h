// A timer of the program's, in virtual time.
#pragma once

#include "sim/time/scheduler.h"

#include <functional>

namespace k4sim {

class IntervalTimer {
public:
    // `expire` is done at each expiry, as an action of the scheduler: it must not wait.
    explicit IntervalTimer(std::function<void()> expire) : expire_(std::move(expire)) {}
    ~IntervalTimer() { disarm(); }
    IntervalTimer(const IntervalTimer&) = delete;
    IntervalTimer& operator=(const IntervalTimer&) = delete;

    // Expires at `first`, then after each interval; with none (0) only once. `never` disarms.
    // What is due by now has expired on return.
    void arm(Microseconds first, Microseconds interval);
    void disarm();

    // Until the next expiry; 0: disarmed.
    Microseconds left() const;
    Microseconds interval() const { return interval_; }

private:
    void plan(Microseconds when);
    void on_time();

    std::function<void()> expire_;
    Microseconds next_ = never;
    Microseconds interval_ = 0;
    Scheduler::Plan plan_;
};

} // namespace k4sim
