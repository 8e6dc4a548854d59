// What the speaker sounded, as a WAV file.
#pragma once

#include "sim/models/surroundings.h"

#include <cstdint>
#include <functional>
#include <string_view>
#include <vector>

namespace k4sim {

class Beeps {
public:
    // From this time on; divider of the speaker's clock, 0: silence.
    void change(Microseconds t, std::int64_t divider) { changes_.push_back({t, divider}); }

    // The whole file until `end`, piece by piece: 16 bits, one channel, 48000 Hz, from the moment
    // the device was switched on. Of a longer run, the first four hours.
    void write(Microseconds end, const std::function<void(std::string_view)>& take) const;

private:
    struct Change {
        Microseconds t = 0;
        std::int64_t divider = 0;
    };
    std::vector<Change> changes_;
};

} // namespace k4sim
