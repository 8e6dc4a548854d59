// One second of audio as the analog audio test handles it, 6 channels filled with a sine and
// 2 analysed, against plain loops in doubles with one sin() and one rounding a frame.

#include "table.h"

#include "audio/alsabuf.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <numbers>
#include <numeric>
#include <vector>

namespace {

constexpr int rate_hz = 48000;
constexpr int playChannels = 6;
constexpr int recordChannels = 2;
constexpr int second_ms = 1000;
constexpr int allChannels = -1;
constexpr double tone_hz = 997.0;
constexpr double level = 0.125;
constexpr double fullScale = 32767.0;

void fillPlainly(std::vector<int16_t>& samples, double& phase) {
    const double step = 2 * std::numbers::pi * tone_hz / rate_hz;
    for (int frame = 0; frame < rate_hz; ++frame) {
        const double value = level * fullScale * std::sin(frame * step + phase);
        const auto sample = static_cast<int16_t>(std::lrint(value + 0.5));
        std::fill_n(samples.begin() + frame * playChannels, playChannels, sample);
    }
    phase = std::fmod(rate_hz * step + phase, 2 * std::numbers::pi);
}

using Infos = std::array<KLTalsaAinfo, recordChannels>;

void analysePlainly(const int16_t* samples, Infos& infos) {
    std::array<double, recordChannels> sum{};
    std::array<double, recordChannels> squares{};
    for (KLTalsaAinfo& info : infos)
        info.clear();
    for (int frame = 0; frame < rate_hz; ++frame)
        for (int channel = 0; channel < recordChannels; ++channel) {
            const double x = samples[frame * recordChannels + channel] / fullScale;
            infos[channel].min = std::min(infos[channel].min, x);
            infos[channel].max = std::max(infos[channel].max, x);
            infos[channel].clip += std::abs(x) >= 1.0;
            sum[channel] += x;
            squares[channel] += x * x;
        }
    for (int channel = 0; channel < recordChannels; ++channel) {
        KLTalsaAinfo& info = infos[channel];
        info.dc = sum[channel] / rate_hz;
        info.rmsTotal = std::sqrt(squares[channel] / rate_hz);
        info.rms = std::sqrt(squares[channel] / rate_hz - info.dc * info.dc);
        info.clip /= rate_hz;
        info.swing = (info.max - info.min) * 0.5;
    }
}

int readBarely(const KLTalsaBuf16& buffer) {
    return std::accumulate(buffer.data(), buffer.data() + buffer.samples(), 0);
}

KLTalsaBuf16& tone() {
    static KLTalsaBuf16 buffer(rate_hz, playChannels, second_ms);
    return buffer;
}

const KLTalsaBuf16& noise() {
    static struct Noise : KLTalsaBuf16 {
        Noise() : KLTalsaBuf16(rate_hz, recordChannels, second_ms) { fillNoise(level); }
    } buffer;
    return buffer;
}

void fillSecond() {
    static double phase = 0;
    tone().fillSine(tone_hz, level, phase, allChannels);
    keep(tone().data());
}

void analyseSecond() {
    static Infos infos;
    noise().info(infos.data(), rate_hz);
    keep(infos);
}

} // namespace

void addAudioRows(Table& table) {
    static std::vector<int16_t> plainTone(rate_hz * playChannels);
    table.compare("fillSine, 6 channels of a second", 0.2, "plain loop", fillSecond,
                  [phase = 0.0]() mutable {
                      fillPlainly(plainTone, phase);
                      keep(plainTone.data());
                  });

    table.compare("info, 2 channels of a second", 0.15, "plain loop", analyseSecond,
                  [infos = Infos{}]() mutable {
                      analysePlainly(noise().data(), infos);
                      keep(infos);
                  });
    table.compare("info, 2 channels, and a bare read", 4, "sum of all samples", analyseSecond,
                  [] { keep(readBarely(noise())); });
}

bool doAudioMinute(std::string_view what) {
    if (what != "fill" && what != "info") return false;
    for (int second = 0; second < 60; ++second)
        what == "fill" ? fillSecond() : analyseSecond();
    return true;
}
