// The levels of interleaved samples in memory, by channel.
#pragma once

#include <vector>

namespace k4sim {

// Interleaved little-endian samples; s24 is the low three bytes of four.
enum class SampleFormat { s16, s24, s32, float32 };
constexpr unsigned sample_bytes(SampleFormat format) { return format == SampleFormat::s16 ? 2 : 4; }

class LevelMeter {
public:
    // In dB re full scale, -200 for nothing at all.
    struct Level {
        double rms_db; // without the DC
        double dc_db;
    };

    // Other channels than before begin anew.
    void add(const void* interleaved, SampleFormat format, unsigned channels, unsigned frames);

    // Of all that was added since it was last asked, a channel each; empty: nothing was.
    std::vector<Level> take();

private:
    struct Sums {
        double of_samples = 0;
        double of_squares = 0;
    };
    std::vector<Sums> channels_;
    unsigned frames_ = 0;
};

} // namespace k4sim
