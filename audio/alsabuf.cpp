#include "audio/alsabuf.h"

#include "audio/sine.h"
#include "audio/sums.h"

#include <array>
#include <cmath>
#include <limits>
#include <numbers>
#include <type_traits>

namespace {

constexpr int lowestRate_hz = 1000;
constexpr int maskBits = 32;
constexpr double randMax = 2147483647.0;
constexpr double rounding = 1e-14; // of a sum about 1
constexpr double fullTurn = 2 * std::numbers::pi;

template <class Sample>
constexpr int highest = std::numeric_limits<Sample>::max();
template <class Sample>
constexpr double fullScale = highest<Sample>;

double numberOrZero(double value) { return std::isnan(value) ? 0.0 : value; }

double amplitude(double level) {
    if (level >= 1.0) return 1.0;
    return level < 0 ? KLTalsaAinfo::dBfact(level) : numberOrZero(level);
}

double withinTurn(double angle) {
    const double rest = std::fmod(angle, fullTurn);
    return rest < 0 ? rest + fullTurn : rest;
}

// The sample of a value within -1..1. Plus 0.5, 1.0 is a tie that would round past the highest
// sample, and -1.0 one that rounds to two above the lowest.
template <class Sample>
Sample toSample(double value) {
    return static_cast<Sample>(
        std::lrint(std::min(value * fullScale<Sample> + 0.5, fullScale<Sample>)));
}

template <class Sample>
Sample clippedSample(double value) {
    if (value < -1.0) return std::numeric_limits<Sample>::min();
    return toSample<Sample>(std::min(numberOrZero(value), 1.0));
}

template <class Sample>
KLTalsaAinfo infoOf(const KLTalsaSums<Sample>& sums, int count) {
    const double dc = static_cast<double>(sums.sum) / count / fullScale<Sample>;
    const double power =
        static_cast<double>(sums.squares) / count / (fullScale<Sample> * fullScale<Sample>);
    KLTalsaAinfo info;
    info.rmsTotal = std::sqrt(power);
    info.dc = dc;
    info.rms = std::sqrt(std::max(power - dc * dc, 0.0));
    info.clip = static_cast<double>(sums.fullScale) / count;
    info.min = sums.min / fullScale<Sample>;
    info.max = sums.max / fullScale<Sample>;
    info.swing = (info.max - info.min) * 0.5;
    return info;
}

int framesOf(int64_t rate, int channels, int64_t msec) {
    const int64_t frames = (rate * msec + msecPerSecond / 2) / msecPerSecond;
    return frames > std::numeric_limits<int32_t>::max() / channels ? 0 : static_cast<int>(frames);
}

} // namespace

template <class Sample>
KLTalsaBuf<Sample>::KLTalsaBuf(int rate, int channels, int msec)
    : rate_(std::max(rate, lowestRate_hz)), channels_(std::max(channels, 1)),
      frames_(framesOf(rate_, channels_, std::max(msec, 1))), limit_(frames_) {
    if (frames_ > 0) data_.reset(static_cast<Sample*>(calloc(offset(frames_), sizeof(Sample))));
    if (!data_) frames_ = limit_ = 0;
}

template <class Sample>
void KLTalsaBuf<Sample>::setFrameLimit(int n) {
    limit_ = n >= 1 && n <= frames_ ? n : frames_;
    position_ = 0;
}

template <class Sample>
int KLTalsaBuf<Sample>::copyFrom(int dstChannel, const KLTalsaBuf& src, int srcChannel, int count) {
    const bool isEmpty = frames_ == 0 && src.frames_ == 0;
    if (count < 1 || dstChannel < 0 || dstChannel >= channels_ || srcChannel < 0 ||
        srcChannel >= src.channels_ || isEmpty)
        return dstChannel;
    count = std::min({count, frames_, src.frames_});
    for (int frame = 0; frame < count; ++frame)
        data_[offset(frame) + dstChannel] = src.data_[src.offset(frame) + srcChannel];
    return count;
}

template <class Sample>
void KLTalsaBuf<Sample>::fillValue(double value, int mask) {
    std::array<Sample, KLTalsaSine::blockFrames> samples;
    samples.fill(clippedSample<Sample>(value));
    for (int first = 0, count; first < frames_; first += count) {
        count = std::min(KLTalsaSine::blockFrames, frames_ - first);
        fillMasked(mask, first, samples.data(), count);
    }
    setFrameLimit(frames_);
}

template <class Sample>
void KLTalsaBuf<Sample>::fillNoise(double level) {
    const double span = 2 * amplitude(level);
    for (int frame = 0; frame < frames_; ++frame) {
        const double random = rand() / randMax;
        std::fill_n(data_.get() + offset(frame), channels_,
                    toSample<Sample>((random - 0.5) * span));
    }
}

template <class Sample>
void KLTalsaBuf<Sample>::info(KLTalsaAinfo* out, int count) const {
    count = std::min(count, frames_);
    std::fill_n(out, channels_, KLTalsaAinfo{});
    if (count < 1) return;
    if constexpr (std::is_same_v<Sample, int16_t>)
        if (channels_ == 2) {
            KLTalsaSums<int16_t> sums[2];
            KLFaddPair(data_.get(), count, sums);
            out[0] = infoOf(sums[0], count);
            out[1] = infoOf(sums[1], count);
            return;
        }
    for (int channel = 0; channel < channels_; ++channel) {
        KLTalsaSums<Sample> sums;
        KLFaddChannel(data_.get() + channel, channels_, count, sums);
        out[channel] = infoOf(sums, count);
    }
}

template <class Sample>
bool KLTalsaBuf<Sample>::fillWave(double freq, double level, double& phase, double dc, int mask) {
    const bool isFinite = std::isfinite(frames_ * (fullTurn * freq / rate_) + phase);
    const KLTalsaSine sine(isFinite ? freq : 0.0, rate_, isFinite ? phase : 0.0);
    const double height = amplitude(level);
    const double offset = numberOrZero(dc);
    // Nearly always no value needs a look at the limits.
    const bool isInside = height + std::abs(offset) <= 1.0 - 1.0 / fullScale<Sample>;
    std::array<Sample, KLTalsaSine::blockFrames> samples;
    bool clipped = false;
    const auto takeInside = [&samples](int i, double value) {
        samples[i] = static_cast<Sample>(std::lrint(value));
    };
    const auto takeAny = [&samples, &clipped](int i, double value) {
        clipped |= std::abs(value) > 1.0 + rounding;
        samples[i] = toSample<Sample>(std::clamp(value, -1.0, 1.0));
    };
    for (int first = 0, count; first < frames_; first += count) {
        count = std::min(KLTalsaSine::blockFrames, frames_ - first);
        if (isInside)
            sine.read(first, count, height * fullScale<Sample>, offset * fullScale<Sample> + 0.5,
                      takeInside);
        else
            sine.read(first, count, height, offset, takeAny);
        fillMasked(mask, first, samples.data(), count);
    }
    phase = isFinite ? withinTurn(sine.angle(frames_)) : 0.0;
    setFrameLimit(frames_);
    return clipped;
}

template <class Sample>
void KLTalsaBuf<Sample>::fillChannel(int channel, int first, const Sample* samples, int count) {
    Sample* target = data_.get() + offset(first) + channel;
    for (int i = 0; i < count; ++i, target += channels_)
        *target = samples[i];
}

template <class Sample>
void KLTalsaBuf<Sample>::fillMasked(int mask, int first, const Sample* samples, int count) {
    for (int channel = 0; channel < std::min<int>(channels_, maskBits); ++channel)
        if (static_cast<uint32_t>(mask) >> channel & 1) fillChannel(channel, first, samples, count);
}

template class KLTalsaBuf<int16_t>;
template class KLTalsaBuf<int32_t>;
