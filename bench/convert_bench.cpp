// Decimal conversion against what else there is: values of all magnitudes, and those that
// the program prints most, counters and codes of a few digits.

#include "baselib/print/convert.h"

#include <array>
#include <benchmark/benchmark.h>
#include <charconv>
#include <cstdint>
#include <cstdio>
#include <random>

namespace {

constexpr std::size_t valueCount = 1024;
using Values = std::array<long long, valueCount>;

// Values of up to `bits` significant bits, evenly over the magnitudes, of both signs.
Values valuesOf(int bits) {
    std::mt19937_64 random(1);
    Values values{};
    for (long long& value : values) {
        const auto shift = 64 - bits + random() % static_cast<unsigned>(bits);
        const auto magnitude = static_cast<long long>(random() >> shift);
        value = random() % 2 == 0 ? magnitude : -magnitude;
    }
    return values;
}

template <class Convert>
void convertAll(benchmark::State& state, Convert convert) {
    const Values values = valuesOf(static_cast<int>(state.range(0)));
    char buffer[32];
    for (auto _ : state)
        for (const long long value : values) {
            convert(value, buffer);
            benchmark::DoNotOptimize(buffer);
        }
    state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(valueCount));
}

void byShiftAndAdd(benchmark::State& state) {
    convertAll(state, [](long long value, char* buffer) {
        bool negative = false;
        int length = 0;
        KLFconvert(value, buffer, 0, &negative, &length);
        benchmark::DoNotOptimize(length);
    });
}

void bySnprintf(benchmark::State& state) {
    convertAll(state, [](long long value, char* buffer) { snprintf(buffer, 32, "%lld", value); });
}

void byToChars(benchmark::State& state) {
    convertAll(state, [](long long value, char* buffer) {
        benchmark::DoNotOptimize(std::to_chars(buffer, buffer + 32, value).ptr);
    });
}

BENCHMARK(byShiftAndAdd)->Arg(10)->Arg(31)->Arg(63);
BENCHMARK(bySnprintf)->Arg(10)->Arg(31)->Arg(63);
BENCHMARK(byToChars)->Arg(10)->Arg(31)->Arg(63);

} // namespace
