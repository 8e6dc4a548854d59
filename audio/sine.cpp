#include "audio/sine.h"

#include <cmath>
#include <numbers>

KLTalsaSine::KLTalsaSine(double frequency, int rate, double phase)
    : frequency_(frequency), rate_(rate), phase_(phase) {
    for (int i = 0; i < blockFrames; ++i) {
        const double angle = advance(i);
        sine_[i] = std::sin(angle);
        cosine_[i] = std::cos(angle);
    }
}

// Whole turns go while the product is still exact to more digits than a double has: the angle of
// a late frame is as good as that of an early one.
double KLTalsaSine::advance(int frame) const {
    constexpr long double fullTurn = 2 * std::numbers::pi_v<long double>;
    const long double cycles = static_cast<long double>(frequency_) * frame;
    return static_cast<double>(fullTurn * (std::fmod(cycles, rate_) / rate_));
}
