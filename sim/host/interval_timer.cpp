#include "sim/host/interval_timer.h"

#include <algorithm>

namespace k4sim {

void IntervalTimer::arm(Microseconds first, Microseconds interval) {
    disarm();
    interval_ = interval;
    if (first != never) plan(first);
    scheduler().spend(0);
}

void IntervalTimer::disarm() {
    if (next_ != never) scheduler().call_off(plan_);
    next_ = never;
    interval_ = 0;
}

Microseconds IntervalTimer::left() const {
    return next_ == never ? 0 : std::max<Microseconds>(next_ - scheduler().now(), 1);
}

void IntervalTimer::plan(Microseconds when) {
    next_ = when;
    plan_ = scheduler().rouse_at(when, [this] { on_time(); });
}

// The next expiry is planned first: what is done at this one may change it.
void IntervalTimer::on_time() {
    const Microseconds due = next_;
    next_ = never;
    if (interval_ > 0 && interval_ != never) plan(due + interval_);
    expire_();
}

} // namespace k4sim
