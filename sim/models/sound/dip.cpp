#include "sim/models/sound/dip.h"

#include <cmath>
#include <initializer_list>
#include <numbers>

namespace k4sim {

// The second-order peaking equaliser of the bilinear transform, with quality 1.
void Dip::tune(double frequency_hz, double rate_hz) {
    frequency_hz_ = frequency_hz;
    rate_hz_ = rate_hz;
    const double amplitude = std::pow(10.0, -depth_db / 40.0);
    const double angle = 2.0 * std::numbers::pi * frequency_hz / rate_hz;
    const double alpha = std::sin(angle) / 2.0;
    const double scale = 1.0 + alpha / amplitude;
    in_0_ = (1.0 + alpha * amplitude) / scale;
    in_1_ = -2.0 * std::cos(angle) / scale;
    in_2_ = (1.0 - alpha * amplitude) / scale;
    out_1_ = in_1_;
    out_2_ = (1.0 - alpha / amplitude) / scale;
    state_1_ = state_2_ = 0;
}

void Dip::settle() {
    constexpr double inaudible = 1e-9; // steps of a sample
    for (double* const state : {&state_1_, &state_2_})
        if (std::abs(*state) < inaudible) *state = 0;
}

} // namespace k4sim
