// The sample clock of a card: which frame it is at, in virtual time. It may go wrong by parts of a
// million, from some time on.
#pragma once

#include "sim/models/surroundings.h"

#include <cstdint>

namespace k4sim {

class SampleClock {
public:
    static constexpr std::int64_t million = 1'000'000;

    // The number of the frame that is under way then.
    std::int64_t frame(Microseconds time, unsigned rate_hz) const {
        return own_ns(time) * rate_hz / ns_per_second;
    }
    // When that frame begins.
    Microseconds begin(std::int64_t frame, unsigned rate_hz) const {
        const std::int64_t own = (frame * ns_per_second + rate_hz - 1) / rate_hz;
        const std::int64_t pace = million + ppm_;
        return since_ + ((own - own_since_) * ns_per_us + pace - 1) / pace;
    }

    // From `now` on it is that much too fast.
    void set_error(Microseconds now, std::int64_t ppm) {
        own_since_ = own_ns(now);
        since_ = now;
        ppm_ = ppm;
    }

private:
    static constexpr std::int64_t ns_per_second = 1'000'000'000;

    std::int64_t own_ns(Microseconds time) const {
        return own_since_ + (time - since_) * (million + ppm_) / ns_per_us;
    }

    Microseconds since_ = 0;
    std::int64_t own_since_ = 0; // in nanoseconds of its own
    std::int64_t ppm_ = 0;
};

} // namespace k4sim
