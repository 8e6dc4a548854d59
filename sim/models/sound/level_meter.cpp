#include "sim/models/sound/level_meter.h"

#include "sim/models/sound/samples.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>

namespace k4sim {

namespace {

constexpr double nothing_db = -200;

double level_of(double share) {
    return share > 0 ? std::max(20 * std::log10(share), nothing_db) : nothing_db;
}

} // namespace

void LevelMeter::add(const void* interleaved, SampleFormat format, unsigned channels,
                     unsigned frames) {
    if (channels_.size() != channels) {
        channels_.assign(channels, {});
        frames_ = 0;
    }
    const auto* sample = static_cast<const std::byte*>(interleaved);
    for (unsigned frame = 0; frame < frames; ++frame)
        for (Sums& sums : channels_) {
            std::array<Frame, 1> one;
            decode_samples(sample, format, 1, one);
            sample += sample_bytes(format);
            const double share = static_cast<double>(one[0].left) / full_scale;
            sums.of_samples += share;
            sums.of_squares += share * share;
        }
    frames_ += frames;
}

std::vector<LevelMeter::Level> LevelMeter::take() {
    std::vector<Level> levels;
    for (const Sums& sums : frames_ > 0 ? channels_ : std::vector<Sums>{}) {
        const double mean = sums.of_samples / frames_;
        const double variance = std::max(sums.of_squares / frames_ - mean * mean, 0.0);
        levels.push_back({level_of(std::sqrt(variance)), level_of(std::fabs(mean))});
    }
    channels_.clear();
    frames_ = 0;
    return levels;
}

} // namespace k4sim
