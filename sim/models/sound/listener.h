// Who listens at the streams of the sound card, to what the program writes and reads there.
#pragma once

#include <cstdint>
#include <span>

namespace k4sim {

// Of one PCM device.
struct StreamName {
    unsigned device = 0;
    bool plays = false;
};

class SoundListener {
public:
    virtual ~SoundListener() = default;

    // What comes of this stream from now on is of another opening, rate or format than before.
    virtual void begin(StreamName stream, unsigned rate_hz, unsigned channels) = 0;

    // More of it: interleaved samples of all its channels.
    virtual void hear(StreamName stream, std::span<const std::int16_t> samples) = 0;

    // Of what was heard last, so many frames were never played.
    virtual void take_back(StreamName stream, std::int64_t frames) = 0;
};

} // namespace k4sim
