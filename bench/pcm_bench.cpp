// One second of audio as the analog audio test handles it, 6 channels filled with a sine and
// 2 analysed, against plain loops in doubles with one sin() a frame.

#include "audio/alsabuf.h"

#include <algorithm>
#include <array>
#include <benchmark/benchmark.h>
#include <cmath>
#include <numbers>
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
        for (int channel = 0; channel < playChannels; ++channel)
            samples[frame * playChannels + channel] = static_cast<int16_t>(std::lrint(value + 0.5));
    }
    phase = std::fmod(rate_hz * step + phase, 2 * std::numbers::pi);
}

void analysePlainly(const int16_t* samples, std::array<KLTalsaAinfo, recordChannels>& infos) {
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

void fill(benchmark::State& state) {
    KLTalsaBuf16 buffer(rate_hz, playChannels, second_ms);
    double phase = 0;
    for (auto _ : state) {
        buffer.fillSine(tone_hz, level, phase, allChannels);
        benchmark::DoNotOptimize(buffer.data());
        benchmark::ClobberMemory();
    }
}

void fillByPlainLoop(benchmark::State& state) {
    std::vector<int16_t> samples(rate_hz * playChannels);
    double phase = 0;
    for (auto _ : state) {
        fillPlainly(samples, phase);
        benchmark::DoNotOptimize(samples.data());
        benchmark::ClobberMemory();
    }
}

void analyse(benchmark::State& state) {
    KLTalsaBuf16 buffer(rate_hz, recordChannels, second_ms);
    buffer.fillNoise(level);
    std::array<KLTalsaAinfo, recordChannels> infos;
    for (auto _ : state) {
        buffer.info(infos.data(), rate_hz);
        benchmark::DoNotOptimize(infos);
    }
}

void analyseByPlainLoop(benchmark::State& state) {
    KLTalsaBuf16 buffer(rate_hz, recordChannels, second_ms);
    buffer.fillNoise(level);
    std::array<KLTalsaAinfo, recordChannels> infos;
    for (auto _ : state) {
        analysePlainly(buffer.data(), infos);
        benchmark::DoNotOptimize(infos);
    }
}

BENCHMARK(fill)->Unit(benchmark::kMicrosecond);
BENCHMARK(fillByPlainLoop)->Unit(benchmark::kMicrosecond);
BENCHMARK(analyse)->Unit(benchmark::kMicrosecond);
BENCHMARK(analyseByPlainLoop)->Unit(benchmark::kMicrosecond);

} // namespace
