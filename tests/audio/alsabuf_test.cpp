// Against plain loops in doubles.
#include "audio/alsabuf.h"

#include <array>
#include <cmath>
#include <gmock/gmock.h>
#include <limits>
#include <numbers>
#include <random>

namespace {

constexpr int all = -1;
constexpr int huge = std::numeric_limits<int>::max();
constexpr double nan = std::numeric_limits<double>::quiet_NaN();
constexpr double infinite = std::numeric_limits<double>::infinity();
constexpr double turn = 2 * std::numbers::pi;
// A step of 32 bits shows how well a double holds the angle.
constexpr double nearest_integer = 0.55;

double plain_amplitude(double level) {
    if (std::isnan(level)) return 0;
    return level >= 0 ? std::min(level, 1.0) : std::pow(10.0, level / 20);
}

template <class Buffer>
class AlsaBuf : public testing::Test {
protected:
    using Sample = std::remove_reference_t<decltype(*std::declval<Buffer&>().data())>;
    static constexpr Sample lowest = std::numeric_limits<Sample>::min();
    static constexpr Sample highest = std::numeric_limits<Sample>::max();
    static constexpr double full = highest;

    // Fills every sample, so that what a fill must leave alone shows.
    static std::vector<Sample> scribble(Buffer& buffer) {
        std::mt19937 random(1);
        for (int i = 0; i < buffer.samples(); ++i)
            buffer.data()[i] = static_cast<Sample>(random());
        return {buffer.data(), buffer.data() + buffer.samples()};
    }

    // How far the samples of the masked channels are from value(frame) * full scale + 0.5, of
    // which they are the nearest integers; the others must be those of before.
    template <class Value>
    static void expect_fill(const Buffer& buffer, const std::vector<Sample>& before, int mask,
                            Value value) {
        double exact = 0;
        double worst = 0;
        bool left_alone = true;
        for (int i = 0; i < buffer.samples(); ++i) {
            const int channel = i % buffer.channels();
            if (channel == 0) exact = std::min(value(i / buffer.channels()) * full + 0.5, full);
            if (channel < 32 && mask >> channel & 1)
                worst = std::max(worst, std::abs(buffer.data()[i] - exact));
            else
                left_alone &= buffer.data()[i] == before[static_cast<std::size_t>(i)];
        }
        EXPECT_LE(worst, nearest_integer);
        EXPECT_TRUE(left_alone);
    }

    static std::array<double, 7> plain_numbers(const Buffer& buffer, int channel, int count) {
        double squares = 0, dc = 0, clip = 0, min = 1, max = -1;
        for (int frame = 0; frame < count; ++frame) {
            const double x = buffer.data()[frame * buffer.channels() + channel] / full;
            min = std::min(min, x);
            max = std::max(max, x);
            clip += std::abs(x) >= 1.0 ? 1.0 / count : 0;
            dc += x / count;
            squares += x * x / count;
        }
        const double swing = count < 1 ? 0 : (max - min) / 2;
        return {std::sqrt(squares), dc, std::max(squares - dc * dc, 0.0), clip, min, max, swing};
    }
};
using Formats = testing::Types<KLTalsaBuf16, KLTalsaBuf32>;
TYPED_TEST_SUITE(AlsaBuf, Formats);

TYPED_TEST(AlsaBuf, HasRoomForTheTime) {
    const struct {
        int rate, channels, msec;
        int got_rate, got_channels, got_frames;
    } cases[] = {{44100, 2, 5, 44100, 2, 221},
                 {999, 2, 7, 1000, 2, 7},
                 {-5, -1, -1, 1000, 1, 1},
                 {48000, 2, 22369622, 48000, 2, 0},
                 {huge, huge, huge, huge, huge, 0}};
    for (const auto& c : cases) {
        const TypeParam buffer(c.rate, c.channels, c.msec);
        SCOPED_TRACE(testing::Message() << c.rate << " " << c.channels << " " << c.msec);
        EXPECT_EQ(buffer.rate(), c.got_rate);
        EXPECT_EQ(buffer.channels(), c.got_channels);
        EXPECT_EQ(buffer.frames(), c.got_frames);
        EXPECT_EQ(buffer.samples(), c.got_frames * c.got_channels);
        EXPECT_EQ(buffer.data() == nullptr, c.got_frames == 0);
    }
    TypeParam empty(48000, 2, huge); // takes everything
    double phase = 1.5;
    empty.fillSine(997, 1.0, phase, all);
    empty.fillValue(1.0, all);
    empty.setFrameLimit(5);
    empty.advance(3);
    EXPECT_EQ(phase + empty.position(), 1.5);
    EXPECT_EQ(empty.copyFrom(1, empty, 0, 5), 1); // as it was given
    KLTalsaAinfo infos[2]{{}, {.dc = 7}};
    empty.info(infos, 10);
    EXPECT_EQ(infos[1].dc, 0);
}

TYPED_TEST(AlsaBuf, LimitsAndAdvances) {
    TypeParam buffer(1000, 2, 10);
    for (const auto& [n, limit] : {std::pair{1, 1}, {10, 10}, {11, 10}, {0, 10}, {6, 6}}) {
        buffer.advance(1);
        buffer.setFrameLimit(n);
        EXPECT_EQ(buffer.remaining(), limit) << n;
    }
    for (const auto& [step, position] : {std::pair{4, 4}, {-1, 4}, {100, 6}}) {
        buffer.advance(step);
        EXPECT_EQ(buffer.next(), buffer.data() + 2 * position);
    }
}

TYPED_TEST(AlsaBuf, CopiesAChannel) {
    TypeParam source(1000, 2, 5);
    this->scribble(source);
    const struct {
        int to, from, count;
        int result, copied;
    } cases[] = {{2, 1, 3, 3, 3},   {1, 0, 9, 5, 5}, {1, 0, 0, 1, 0}, {3, 0, 5, 3, 0},
                 {-1, 0, 5, -1, 0}, {1, 2, 5, 1, 0}, {1, -1, 5, 1, 0}};
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message() << c.to << " " << c.from << " " << c.count);
        TypeParam target(1000, 3, 7);
        EXPECT_EQ(target.copyFrom(c.to, source, c.from, c.count), c.result);
        for (int i = 0; i < target.samples(); ++i) {
            const bool copied = i % 3 == c.to && i / 3 < c.copied;
            EXPECT_EQ(target.data()[i], copied ? source.data()[i / 3 * 2 + c.from] : 0) << i;
        }
    }
}

TYPED_TEST(AlsaBuf, SineIsThatOfTheFormula) {
    const struct {
        double freq, level, phase;
        int channels, msec, mask;
    } cases[] = {{997, 1.0, 0, 2, 1000, all},     {1000, 7.0, 1.0, 1, 1000, 1},
                 {20, 0.125, 6.0, 6, 1000, 0x2A}, {23999, -18.0, 3.0, 2, 1000, 2},
                 {12000, 1.0, 0, 1, 1000, 1},     {50000, 0.5, 0.1, 4, 400, 0xF0F},
                 {-440, -0.001, 0, 1, 333, 1},    {0, 1.0, 1.0, 1, 10, 1},
                 {997, 0.9, -400.0, 33, 17, all}, {997, 0.9, 0, 2, 50, 0},
                 {997, nan, 0.0, 1, 10, all},     {997, -infinite, 0.0, 1, 10, all},
                 {nan, 1.0, 0.0, 1, 10, all},     {infinite, 1.0, 0.0, 1, 10, all},
                 {997, 1.0, nan, 1, 10, all},     {997, 1.0, -infinite, 1, 10, all}};
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message() << c.freq << " Hz, level " << c.level << " " << c.phase);
        TypeParam buffer(48000, c.channels, c.msec);
        const auto before = this->scribble(buffer);
        double phase = c.phase;
        buffer.setFrameLimit(3);
        buffer.fillSine(c.freq, c.level, phase, c.mask);
        EXPECT_EQ(buffer.limit(), buffer.frames());
        // Angles that are none: silence from phase 0.
        const bool finite = std::isfinite(c.freq) && std::isfinite(c.phase);
        const double step = finite ? turn * c.freq / 48000 : 0;
        const double begin = finite ? c.phase : 0;
        this->expect_fill(buffer, before, c.mask, [&](int frame) {
            return plain_amplitude(c.level) * std::sin(frame * step + begin);
        });
        EXPECT_TRUE(phase >= 0 && phase <= turn) << phase;
        EXPECT_NEAR(std::remainder(phase - begin - buffer.frames() * step, turn), 0.0, 1e-9);
    }
}

using AlsaBuf32 = AlsaBuf<KLTalsaBuf32>;

TEST_F(AlsaBuf32, ClipsTheSineWithDC) {
    const struct {
        double level, dc;
        int clipped;
    } cases[] = {{1.0, 0.0, 0},  {0.5, 0.5, 0}, {0.5, -0.5, 0},    {1.0, 0.5, 1},
                 {1.0, -0.5, 1}, {0.0, nan, 0}, {1.0, infinite, 1}};
    for (const auto& [level, dc, clipped] : cases) {
        SCOPED_TRACE(testing::Message() << level << " " << dc);
        KLTalsaBuf32 buffer(48000, 1, 10);
        double phase = 0; // of a sine of a quarter of the sample rate: 0, 1, 0, -1
        EXPECT_EQ(buffer.fillSineDC(12000, level, phase, dc, 1), clipped);
        expect_fill(buffer, {}, 1, [height = level, offset = std::isnan(dc) ? 0 : dc](int frame) {
            return std::clamp(height * std::sin(turn / 4 * frame) + offset, -1.0, 1.0);
        });
    }
}

TEST_F(AlsaBuf32, KeepsItsPhaseThroughThousandsOfBuffers) {
    constexpr int seconds = 2000;
    constexpr double tone_hz = 12000.3;
    KLTalsaBuf32 buffer(48000, 1, 1000);
    double phase = 1.0;
    for (int second = 0; second < seconds; ++second)
        buffer.fillSine(tone_hz, 1.0, phase, 0);
    const long double turns = std::fmod(static_cast<long double>(tone_hz) * seconds, 1.0L);
    EXPECT_NEAR(phase, std::fmod(1.0 + turn * static_cast<double>(turns), turn), 0.5 / full);
}

TYPED_TEST(AlsaBuf, FillsAValueOrTheNoiseOfRand) {
    for (const double value : {0.25, 1.0, 1e300, -0.25, -1.0, -1.0001, -infinite, nan}) {
        TypeParam buffer(1000, 3, 600);
        const auto before = this->scribble(buffer);
        buffer.setFrameLimit(2);
        buffer.fillValue(value, 5);
        EXPECT_EQ(buffer.limit(), 600);
        const double below = (this->lowest - 0.5) / this->full;
        this->expect_fill(buffer, before, 5, [=](int) {
            return std::isnan(value) ? 0 : value < -1 ? below : value;
        });
        buffer.setFrameLimit(7);
        srand(5);
        buffer.fillNoise(value);
        EXPECT_EQ(buffer.limit(), 7);
        srand(5);
        this->expect_fill(buffer, {}, all, [value](int) {
            return (rand() / 2147483647.0 - 0.5) * 2 * plain_amplitude(value);
        });
    }
}

// Two channels are added up in another way than others.
TYPED_TEST(AlsaBuf, AnalysesAsAPlainLoop) {
    for (const auto& [channels, first_kind] : {std::pair{5, 0}, {2, 0}, {2, 2}}) {
        TypeParam buffer(48000, channels, 1500);
        this->scribble(buffer);
        for (int i = 0; i < buffer.samples(); ++i) {
            const int frame = i / channels;
            const int kind = i % channels + first_kind;
            if (kind == 1) buffer.data()[i] = frame % 3 == 0 ? -this->highest : frame % 3 - 1;
            if (kind == 2) buffer.data()[i] = this->highest; // so that the minimum is 1
            if (kind == 3) buffer.data()[i] = this->lowest;  // beyond; the maximum starts at -1
        }
        for (const int count : {1, 2, 47999, 71999, 80000, huge, 0, -1, -huge - 1}) {
            std::array<KLTalsaAinfo, 5> infos;
            infos.fill({1, 2, 3, 4, 5, 6, 7});
            buffer.info(infos.data(), count);
            for (int channel = 0; channel < channels; ++channel) {
                const auto& [total, dc, rms, clip, min, max, swing] =
                    infos[static_cast<std::size_t>(channel)];
                const auto plain = this->plain_numbers(buffer, channel, std::min(count, 72000));
                EXPECT_THAT((std::array{total, dc, rms * rms, clip, min, max, swing}),
                            testing::Pointwise(testing::DoubleNear(1e-11), plain))
                    << count << " frames, channel " << channel << " of " << channels;
            }
        }
    }
}

TEST(AlsaInfo, DecibelsAreThoseOfTheDecimalLogarithm) {
    for (const double ratio : {1.0, 0.5, 1e-9, 1e6}) {
        EXPECT_NEAR(KLTalsaAinfo::dB(ratio), 20 * std::log10(ratio), 1e-9);
        EXPECT_NEAR(KLTalsaAinfo::dBfact(20 * std::log10(ratio)) / ratio, 1.0, 1e-12);
    }
    EXPECT_EQ(KLTalsaAinfo::dB(0.0), -1000.0);
    EXPECT_EQ(KLTalsaAinfo::dB(-1.0), -1000.0);
}

} // namespace
