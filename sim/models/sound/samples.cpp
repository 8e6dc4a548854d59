#include "sim/models/sound/samples.h"

#include <algorithm>
#include <cstring>

namespace k4sim {

namespace {

constexpr std::int32_t highest = full_scale - 1;
constexpr std::int32_t lowest = -full_scale;

struct Signed16 {
    using Sample = std::int16_t;
    static std::int32_t decode(Sample sample) { return sample * 512; }
    static Sample encode(std::int32_t value) {
        return static_cast<Sample>(std::min((value + 256) >> 9, 32767));
    }
};

struct Signed24 {
    using Sample = std::uint32_t;
    static std::int32_t decode(Sample sample) {
        return static_cast<std::int32_t>(sample << 8) >> 7;
    }
    static Sample encode(std::int32_t value) {
        return static_cast<Sample>(value >> 1) & 0xFF'FF'FFU;
    }
};

struct Signed32 {
    using Sample = std::int32_t;
    static std::int32_t decode(Sample sample) { return sample >> 7; }
    static Sample encode(std::int32_t value) { return value * 128; }
};

struct Float32 {
    using Sample = float;
    static std::int32_t decode(Sample sample) {
        const float clipped = sample > -1.0F ? std::min(sample, 1.0F) : -1.0F; // also no number
        return static_cast<std::int32_t>(clipped * static_cast<float>(full_scale));
    }
    static Sample encode(std::int32_t value) {
        return static_cast<float>(value) / static_cast<float>(full_scale);
    }
};

// The memory is not aligned by any rule.
template <class Sample>
Sample load(const std::byte* place) {
    Sample sample;
    std::memcpy(&sample, place, sizeof sample);
    return sample;
}

template <class Format>
void decode(const std::byte* place, unsigned channels, std::span<Frame> frames) {
    using Sample = typename Format::Sample;
    for (Frame& frame : frames) {
        frame.left = Format::decode(load<Sample>(place));
        frame.right = channels < 2 ? 0 : Format::decode(load<Sample>(place + sizeof(Sample)));
        place += channels * sizeof(Sample);
    }
}

template <class Format>
void encode(std::span<const Frame> frames, std::byte* place) {
    using Sample = typename Format::Sample;
    for (const Frame& frame : frames) {
        const Sample pair[2] = {Format::encode(std::clamp(frame.left, lowest, highest)),
                                Format::encode(std::clamp(frame.right, lowest, highest))};
        std::memcpy(place, pair, sizeof pair);
        place += sizeof pair;
    }
}

template <class Format>
void shorten(const std::byte* place, std::span<std::int16_t> samples) {
    using Sample = typename Format::Sample;
    for (std::int16_t& sample : samples) {
        sample = Signed16::encode(std::clamp(Format::decode(load<Sample>(place)), lowest, highest));
        place += sizeof(Sample);
    }
}

} // namespace

void decode_samples(const void* interleaved, SampleFormat format, unsigned channels,
                    std::span<Frame> frames) {
    const auto* const place = static_cast<const std::byte*>(interleaved);
    switch (format) {
    case SampleFormat::s16:
        return decode<Signed16>(place, channels, frames);
    case SampleFormat::s24:
        return decode<Signed24>(place, channels, frames);
    case SampleFormat::s32:
        return decode<Signed32>(place, channels, frames);
    case SampleFormat::float32:
        return decode<Float32>(place, channels, frames);
    }
}

void encode_samples(std::span<const Frame> frames, SampleFormat format, void* interleaved) {
    auto* const place = static_cast<std::byte*>(interleaved);
    switch (format) {
    case SampleFormat::s16:
        return encode<Signed16>(frames, place);
    case SampleFormat::s24:
        return encode<Signed24>(frames, place);
    case SampleFormat::s32:
        return encode<Signed32>(frames, place);
    case SampleFormat::float32:
        return encode<Float32>(frames, place);
    }
}

void shorten_samples(const void* interleaved, SampleFormat format,
                     std::span<std::int16_t> samples) {
    const auto* const place = static_cast<const std::byte*>(interleaved);
    switch (format) {
    case SampleFormat::s16:
        return shorten<Signed16>(place, samples);
    case SampleFormat::s24:
        return shorten<Signed24>(place, samples);
    case SampleFormat::s32:
        return shorten<Signed32>(place, samples);
    case SampleFormat::float32:
        return shorten<Float32>(place, samples);
    }
}

} // namespace k4sim
