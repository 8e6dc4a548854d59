#include "audio/alsabuf.h"

#include "audio/sine.h"

#include <array>
#include <cmath>
#include <limits>
#include <numbers>

namespace {

constexpr int lowestRate_hz = 1000;
constexpr int maskBits = 32;
constexpr double randMax = 2147483647.0;
constexpr double fullTurn = 2 * std::numbers::pi;

// The accumulator of squares must hold 2^31 of them; those of 32 bits fit no integer.
template <class Sample>
struct Format;
template <>
struct Format<int16_t> {
    using Squares = int64_t;
    static Squares square(int sample) { return static_cast<uint32_t>(sample * sample); }
};
template <>
struct Format<int32_t> {
    using Squares = double;
    static Squares square(int sample) { return static_cast<double>(sample) * sample; }
};

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

// Turns the first count values of a sine into samples; whether one was clipped.
template <class Sample>
bool convert(const KLTalsaSine::Block& sines, int count, double height, double dc,
             Sample* samples) {
    bool clipped = false;
    for (int i = 0; i < count; ++i) {
        const double value = height * sines[i] + dc;
        clipped |= std::abs(value) > 1.0;
        samples[i] = toSample<Sample>(std::clamp(value, -1.0, 1.0));
    }
    return clipped;
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
    for (int channel = 0; channel < channels_; ++channel)
        out[channel] = count < 1 ? KLTalsaAinfo{} : channelInfo(channel, count);
}

template <class Sample>
bool KLTalsaBuf<Sample>::fillWave(double freq, double level, double& phase, double dc, int mask) {
    const double step = fullTurn * freq / rate_;
    const double end = frames_ * step + phase;
    const bool isFinite = std::isfinite(end);
    const double height = amplitude(level);
    const KLTalsaSine sine(isFinite ? step : 0.0, isFinite ? phase : 0.0);
    KLTalsaSine::Block values;
    std::array<Sample, KLTalsaSine::blockFrames> samples;
    bool clipped = false;
    for (int first = 0, count; first < frames_; first += count) {
        count = std::min(KLTalsaSine::blockFrames, frames_ - first);
        sine.read(first, values);
        clipped |= convert(values, count, height, numberOrZero(dc), samples.data());
        fillMasked(mask, first, samples.data(), count);
    }
    phase = isFinite ? withinTurn(end) : 0.0;
    setFrameLimit(frames_);
    return clipped;
}

template <class Sample>
void KLTalsaBuf<Sample>::fillChannel(int channel, int first, const Sample* samples, int count) {
    Sample* target = data_.get() + offset(first) + channel;
    for (int i = 0; i < count; ++i)
        target[offset(i)] = samples[i];
}

template <class Sample>
void KLTalsaBuf<Sample>::fillMasked(int mask, int first, const Sample* samples, int count) {
    for (int channel = 0; channel < std::min<int>(channels_, maskBits); ++channel)
        if (static_cast<uint32_t>(mask) >> channel & 1) fillChannel(channel, first, samples, count);
}

template <class Sample>
KLTalsaAinfo KLTalsaBuf<Sample>::channelInfo(int channel, int count) const {
    int min = highest<Sample>;
    int max = -highest<Sample>;
    int fullScaleCount = 0;
    int64_t sum = 0;
    typename Format<Sample>::Squares squares = 0;
    const Sample* source = data_.get() + channel;
    for (int i = 0; i < count; ++i) {
        const int sample = source[offset(i)];
        min = std::min(min, sample);
        max = std::max(max, sample);
        fullScaleCount += sample >= highest<Sample> || sample <= -highest<Sample>;
        sum += sample;
        squares += Format<Sample>::square(sample);
    }
    const double dc = static_cast<double>(sum) / count / fullScale<Sample>;
    const double power =
        static_cast<double>(squares) / count / (fullScale<Sample> * fullScale<Sample>);
    KLTalsaAinfo info;
    info.rmsTotal = std::sqrt(power);
    info.dc = dc;
    info.rms = std::sqrt(std::max(power - dc * dc, 0.0));
    info.clip = static_cast<double>(fullScaleCount) / count;
    info.min = min / fullScale<Sample>;
    info.max = max / fullScale<Sample>;
    info.swing = (info.max - info.min) * 0.5;
    return info;
}

template class KLTalsaBuf<int16_t>;
template class KLTalsaBuf<int32_t>;
