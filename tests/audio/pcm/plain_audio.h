#pragma once
// What buffers and levels are compared with: plain loops in doubles.

#include "audio/alsabuf.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numbers>
#include <vector>

inline constexpr double turn = 2 * std::numbers::pi;

template <class Buffer>
using SampleOf = std::remove_reference_t<decltype(*std::declval<Buffer&>().data())>;

template <class Buffer>
constexpr double fullScaleOf = std::numeric_limits<SampleOf<Buffer>>::max();

inline double plainAmplitude(double level) {
    if (level >= 1.0) return 1.0;
    return level >= 0 ? level : std::pow(10.0, level / 20);
}

inline double plainSine(double freq, double level, double phase, int rate, int frame) {
    return plainAmplitude(level) * std::sin(frame * (turn * freq / rate) + phase);
}

template <class Buffer>
double sampleAt(const Buffer& buffer, int frame, int channel) {
    return buffer.data()[static_cast<std::size_t>(frame) * buffer.channels() + channel];
}

// How far a sample is from value * full scale + 0.5, of which it is the nearest integer.
template <class Buffer>
double roundingError(const Buffer& buffer, int frame, int channel, double value) {
    const double exact = std::min(value * fullScaleOf<Buffer> + 0.5, fullScaleOf<Buffer>);
    return std::abs(sampleAt(buffer, frame, channel) - exact);
}

template <class Buffer>
KLTalsaAinfo plainInfo(const Buffer& buffer, int channel, int count) {
    KLTalsaAinfo info;
    double sum = 0;
    double squares = 0;
    for (int frame = 0; frame < count; ++frame) {
        const double x = sampleAt(buffer, frame, channel) / fullScaleOf<Buffer>;
        info.min = std::min(info.min, x);
        info.max = std::max(info.max, x);
        info.clip += std::abs(x) >= 1.0 ? 1.0 / count : 0;
        sum += x;
        squares += x * x;
    }
    info.dc = sum / count;
    info.rmsTotal = std::sqrt(squares / count);
    info.rms = std::sqrt(std::max(squares / count - info.dc * info.dc, 0.0));
    info.swing = (info.max - info.min) / 2;
    return info;
}
