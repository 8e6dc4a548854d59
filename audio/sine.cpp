#include "audio/sine.h"

#include <algorithm>
#include <cmath>

KLTalsaSine::KLTalsaSine(double step, double phase) : step_(step), phase_(phase) {
    for (int i = 0; i < blockFrames; ++i) {
        sine_[i] = std::sin(i * step);
        cosine_[i] = std::cos(i * step);
    }
}

void KLTalsaSine::read(int first, Block& values) const {
    const double angle = first * step_ + phase_;
    const double sine = std::sin(angle);
    const double cosine = std::cos(angle);
    // Rounding may pass 1, which a caller would take for clipping.
    for (int i = 0; i < blockFrames; ++i)
        values[i] = std::clamp(sine * cosine_[i] + cosine * sine_[i], -1.0, 1.0);
}
