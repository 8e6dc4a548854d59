// Keeps virtual time from running ahead of real time, or from running at all, and lets somebody
// who looks on be heard meanwhile.
#pragma once

#include "sim/models/surroundings.h"

#include <limits>
#include <optional>

namespace k4sim {

// Sleeps in real time, past the stand-ins.
void real_sleep(Microseconds duration);

// Somebody who looks on in real time, and may do something.
class Onlooker {
public:
    virtual ~Onlooker() = default;

    // Can be read from when there is something to hear; -1: there never is any more.
    virtual int descriptor() const = 0;

    // Called some times in a real second at least. What is planned meanwhile must be due within
    // `earliest` and `latest`. `real`: a clock of real time. True: something was heard, which may
    // have planned something or changed the pace.
    virtual bool look(Microseconds real, Microseconds earliest, Microseconds latest) = 0;
};

class Pace {
public:
    // `factor` virtual seconds go by in a real second, counted from `now`; without a
    // factor nothing is held back.
    void set(std::optional<double> factor, Microseconds now);
    std::optional<double> factor() const { return factor_; }

    // Virtual time stands still as soon as it is `when`; empty: it goes on from `now`.
    void stop(Microseconds when) { stop_ = when; }
    void go_on(Microseconds now);
    // When that is, or was; empty: it goes on.
    std::optional<Microseconds> stop() const { return stop_; }

    // Null: nobody. Stays the caller's.
    void set_onlooker(Onlooker* onlooker, Microseconds now);

    // It is `now`, and is to become `next`, which may be the same. Sleeps, in real time, while
    // `next` is more than a millisecond ahead. False: the onlooker was heard before.
    bool hold(Microseconds now, Microseconds next);

private:
    bool look(Microseconds now, Microseconds next);
    Microseconds lead(Microseconds now, Microseconds next) const;
    void wait(Microseconds duration);

    std::optional<double> factor_;
    std::optional<Microseconds> stop_;
    Onlooker* onlooker_ = nullptr;
    Microseconds virtual_start_ = 0;
    Microseconds real_start_ = 0;
    Microseconds next_look_ = std::numeric_limits<Microseconds>::max();
};

} // namespace k4sim
