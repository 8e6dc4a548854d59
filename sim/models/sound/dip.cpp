#include "sim/models/sound/dip.h"

#include <cmath>
#include <numbers>

namespace k4sim {

namespace {

// What is left of a signal that dies away, in steps of a sample, comes to an end: with numbers near
// the smallest that there are a processor takes a hundred times as long.
constexpr double inaudible = 1e-9;

double settled(double state) { return std::abs(state) < inaudible ? 0 : state; }

} // namespace

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

double Dip::filter(double sample) {
    const double result = in_0_ * sample + state_1_;
    state_1_ = settled(in_1_ * sample - out_1_ * result + state_2_);
    state_2_ = settled(in_2_ * sample - out_2_ * result);
    return result;
}

} // namespace k4sim
