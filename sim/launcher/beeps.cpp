#include "sim/launcher/beeps.h"

#include "sim/models/panel/speaker.h"
#include "sim/models/sound/wave.h"

#include <algorithm>
#include <string>

namespace k4sim {

namespace {

constexpr std::int64_t rate_hz = 48'000;
constexpr Microseconds longest_sound = Microseconds{4} * 3600 * us_per_second;
constexpr std::size_t piece_bytes = 96'000;
constexpr int loudness = 8192; // -12 dB

// The level of a square wave so long after it began.
int square_wave(std::int64_t divider, Microseconds age) {
    if (divider == 0) return 0;
    const std::int64_t half_waves = age * 2 * speaker_clock_hz / (divider * us_per_second);
    return half_waves % 2 == 0 ? loudness : -loudness;
}

} // namespace

void Beeps::write(Microseconds end, const std::function<void(std::string_view)>& take) const {
    const std::int64_t samples = std::min(end, longest_sound) * rate_hz / us_per_second;
    const auto head = wave_head(rate_hz, 1, static_cast<std::uint32_t>(samples * 2));
    std::string piece(head.begin(), head.end());
    Change sounding;
    auto next = changes_.begin();
    for (std::int64_t sample = 0; sample < samples; ++sample) {
        const Microseconds t = sample * us_per_second / rate_hz;
        while (next != changes_.end() && next->t <= t)
            sounding = *next++;
        const auto level = static_cast<unsigned>(square_wave(sounding.divider, t - sounding.t));
        piece += static_cast<char>(level & 0xFF);
        piece += static_cast<char>(level >> 8 & 0xFF);
        if (piece.size() < piece_bytes) continue;
        take(piece);
        piece.clear();
    }
    take(piece);
}

} // namespace k4sim
