// Between interleaved samples in memory and the frames of the converters.
#pragma once

#include "sim/models/sound/pcm.h"

#include <span>

namespace k4sim {

// Takes the first two of `channels` channels; with one channel, right is zero.
void decode_samples(const void* interleaved, SampleFormat format, unsigned channels,
                    std::span<Frame> frames);

// Writes two channels, clipped at full scale and rounded.
void encode_samples(std::span<const Frame> frames, SampleFormat format, void* interleaved);

// Of all channels, rounded to 16 bits.
void shorten_samples(const void* interleaved, SampleFormat format, std::span<std::int16_t> samples);

} // namespace k4sim
