#pragma once
// Buffers of interleaved samples: filled with test signals and played, recorded into and
// analysed.

#include "audio/ainfo.h"
#include "baselib/print/out.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <memory>

inline constexpr int msecPerSecond = 1000;

// What the buffers of both sample formats share; see KLTalsaBuf16 and KLTalsaBuf32.
//
// A transfer moves frames position() to limit() - 1 and advances the position; the buffer is
// done when they are equal. 0 <= position() <= limit() <= frames() always.
//
// Levels: 1.0 and more is full scale, 0 to 1 a linear fraction of it, a negative value dB.
// Values are in units of full scale, 32767 or 2147483647. A value becomes the sample
// value * full scale + 0.5, rounded to the nearest integer, ties to the even one; the highest
// sample is full scale. What is not a number counts as 0.
//
// A mask has bit (1 << c) set for channel c; other channels are left as they are, and so
// are channels from 32 up.
template <class Sample>
class KLTalsaBuf : private KLTnoncopyable {
public:
    // Room for msec milliseconds, to the nearest frame, of silence. Rates below 1000 Hz count
    // as 1000, msec and channels below 1 as 1. A buffer of more than INT32_MAX samples, or of
    // more than there is memory, is empty: it has 0 frames, and is done from the start.
    KLTalsaBuf(int rate, int channels, int msec);

    // The samples: frame 0 channel 0, frame 0 channel 1, ... Null when empty.
    Sample* data() { return data_.get(); }
    const Sample* data() const { return data_.get(); }
    int samples() const { return frames_ * channels_; }
    int frames() const { return frames_; } // capacity
    int channels() const { return channels_; }
    int frameBytes() const { return channels_ * static_cast<int>(sizeof(Sample)); }
    int rate() const { return rate_; }         // Hz
    int position() const { return position_; } // next frame to transfer
    int limit() const { return limit_; }       // frames to transfer

    // Position 0, limit n; n outside of 1..frames(): all frames. setFrameLimit(0) so readies a
    // buffer for a fresh recording of full length.
    void setFrameLimit(int n);

    // What a transfer needs: the frames left, where they are, and that so many were moved
    // (bounded to those left).
    int remaining() const { return limit_ - position_; }
    Sample* next() { return data_.get() + offset(position_); }
    void advance(int count) { position_ += std::clamp(count, 0, remaining()); }

    // Copies the first count frames of a channel of src (which may be this buffer) into a
    // channel of this one; not more than either buffer holds. Returns the number copied;
    // dstChannel, and copies nothing, when count is below 1, a channel does not exist or both
    // buffers are empty.
    int copyFrom(int dstChannel, const KLTalsaBuf& src, int srcChannel, int count);

    // Frame i gets amplitude * sin(i * step + phase), step being 2 pi freq / rate(). Leaves in
    // phase (radians, 0..2 pi) where the next fill goes on without a jump. Position 0, limit
    // frames(). Where the angles are not finite: silence, and phase 0.
    void fillSine(double freq, double level, double& phase, int mask) {
        fillWave(freq, level, phase, 0.0, mask);
    }
    // Every frame gets value; above 1 the highest, below -1 the most negative sample.
    // Position 0, limit frames().
    void fillValue(double value, int mask);
    // White noise, evenly distributed between plus and minus the amplitude, from rand(), the
    // same on all channels. Position and limit stay.
    void fillNoise(double level);

    // Analyses the first count frames, all for a count above frames(), into one record for
    // each channel. count below 1: the records are cleared.
    void info(KLTalsaAinfo* out, int count) const;

protected:
    ~KLTalsaBuf() = default;

    // fillSine with a DC offset; whether a value was outside of -1..1, which gives the highest
    // sample or the one of -1.
    bool fillWave(double freq, double level, double& phase, double dc, int mask);

private:
    struct Free {
        void operator()(Sample* data) const { std::free(data); }
    };

    std::size_t offset(int frame) const {
        return static_cast<std::size_t>(frame) * static_cast<std::size_t>(channels_);
    }
    void fillChannel(int channel, int first, const Sample* samples, int count);
    void fillMasked(int mask, int first, const Sample* samples, int count);

    int32_t rate_;
    int32_t channels_;
    int32_t frames_;
    int32_t position_ = 0;
    int32_t limit_;
    std::unique_ptr<Sample[], Free> data_;
};

extern template class KLTalsaBuf<int16_t>;
extern template class KLTalsaBuf<int32_t>;

// 16-bit samples.
class KLTalsaBuf16 : public KLTalsaBuf<int16_t> {
public:
    using KLTalsaBuf::KLTalsaBuf;
};

// 32-bit samples. fillSine and fillSineDC are right to one step, also after hours of buffers.
class KLTalsaBuf32 : public KLTalsaBuf<int32_t> {
public:
    using KLTalsaBuf::KLTalsaBuf;

    // fillSine plus dc. A value above 1 gives the sample 0x7fffffff, one below -1 0x80000002
    // (that of -1, not the most negative one). 1 when there was one, else 0.
    int fillSineDC(double freq, double level, double& phase, double dc, int mask) {
        return fillWave(freq, level, phase, dc, mask) ? 1 : 0;
    }
};
