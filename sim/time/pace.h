// Keeps virtual time from running ahead of real time.
#pragma once

#include "sim/models/surroundings.h"

#include <optional>

namespace k4sim {

// Sleeps in real time, past the stand-ins.
void real_sleep(Microseconds duration);

class Pace {
public:
    // `factor` virtual seconds go by in a real second, counted from `now`; without a
    // factor nothing is held back.
    void set(std::optional<double> factor, Microseconds now);

    // Sleeps, in real time, while `now` is more than a millisecond ahead.
    void hold(Microseconds now);

private:
    std::optional<double> factor_;
    Microseconds virtual_start_ = 0;
    Microseconds real_start_ = 0;
    Microseconds next_look_ = 0;
};

} // namespace k4sim
