#include "audio/alsabuf.h"

#include "plain_audio.h"

#include <array>
#include <gtest/gtest.h>
#include <random>

namespace {

constexpr int all = -1;
constexpr double nan = std::numeric_limits<double>::quiet_NaN();
constexpr double infinite = std::numeric_limits<double>::infinity();
// A step of 32 bits shows how well a double holds the angle.
constexpr double nearestInteger = 0.55;

template <class Buffer>
class AlsaBuf : public testing::Test {};
using Formats = testing::Types<KLTalsaBuf16, KLTalsaBuf32>;
TYPED_TEST_SUITE(AlsaBuf, Formats);

// Fills every sample, so that what a fill must leave alone shows.
template <class Buffer>
void scribble(Buffer& buffer, unsigned seed) {
    std::mt19937 random(seed);
    for (int i = 0; i < buffer.samples(); ++i)
        buffer.data()[i] = static_cast<SampleOf<Buffer>>(random());
}

template <class Buffer>
std::vector<SampleOf<Buffer>> contents(const Buffer& buffer) {
    return {buffer.data(), buffer.data() + buffer.samples()};
}

TYPED_TEST(AlsaBuf, HasRoomForTheTime) {
    constexpr int huge = std::numeric_limits<int>::max();
    struct Case {
        int rate, channels, msec;
        int gotRate, gotChannels, gotFrames;
    };
    for (const Case& c :
         {Case{48000, 6, 1000, 48000, 6, 48000}, Case{44100, 2, 5, 44100, 2, 221}, // 220.5
          Case{999, 2, 7, 1000, 2, 7}, Case{-5, -1, -1, 1000, 1, 1},
          // More samples than a count holds.
          Case{48000, 2, 22369622, 48000, 2, 0}, Case{huge, huge, huge, huge, huge, 0},
          Case{1000, huge, 2, 1000, huge, 0}, Case{1000, 1 << 30, 4, 1000, 1 << 30, 0}}) {
        const TypeParam buffer(c.rate, c.channels, c.msec);
        SCOPED_TRACE(testing::Message() << c.rate << " " << c.channels << " " << c.msec);
        EXPECT_EQ(buffer.rate(), c.gotRate);
        EXPECT_EQ(buffer.channels(), c.gotChannels);
        EXPECT_EQ(buffer.frames(), c.gotFrames);
        EXPECT_EQ(buffer.samples(), c.gotFrames * c.gotChannels);
        EXPECT_EQ(buffer.data() == nullptr, c.gotFrames == 0);
    }
}

TYPED_TEST(AlsaBuf, AnEmptyOneTakesEverything) {
    TypeParam buffer(48000, 2, std::numeric_limits<int>::max());
    ASSERT_EQ(buffer.frames(), 0);
    double phase = 1.5;
    buffer.fillSine(997, 1.0, phase, all);
    EXPECT_DOUBLE_EQ(phase, 1.5);
    buffer.fillValue(1.0, all);
    buffer.fillNoise(1.0);
    buffer.setFrameLimit(5);
    buffer.advance(3);
    EXPECT_EQ(buffer.position(), 0);
    EXPECT_EQ(buffer.copyFrom(1, buffer, 0, 1), 1); // as it was given
    std::array<KLTalsaAinfo, 2> infos;
    infos[1].dc = 7;
    buffer.info(infos.data(), 10);
    EXPECT_EQ(infos[1].dc, 0);
}

TYPED_TEST(AlsaBuf, LimitsAndAdvances) {
    TypeParam buffer(1000, 2, 10);
    for (const auto& [n, limit] : {std::pair{4, 4}, {10, 10}, {11, 10}, {0, 10}, {-3, 10}}) {
        buffer.advance(1);
        buffer.setFrameLimit(n);
        EXPECT_EQ(buffer.limit(), limit) << n;
        EXPECT_EQ(buffer.position(), 0) << n;
    }
    buffer.setFrameLimit(6);
    for (const auto& [step, position] : {std::pair{4, 4}, {-1, 4}, {100, 6}}) {
        buffer.advance(step);
        EXPECT_EQ(buffer.next(), buffer.data() + 2 * position);
        EXPECT_EQ(buffer.remaining(), 6 - position);
    }
}

TYPED_TEST(AlsaBuf, CopiesAChannel) {
    constexpr int frames = 5;
    TypeParam source(1000, 2, frames);
    for (int i = 0; i < source.samples(); ++i)
        source.data()[i] = static_cast<SampleOf<TypeParam>>(100 + i);
    struct Case {
        int dstChannel, srcChannel, count;
        int result, copied;
    };
    for (const Case& c : {Case{0, 0, 5, 5, 5}, Case{2, 1, 3, 3, 3}, Case{1, 0, 9, 5, 5},
                          Case{1, 0, 0, 1, 0}, Case{2, 0, -1, 2, 0}, Case{3, 0, 5, 3, 0},
                          Case{-1, 0, 5, -1, 0}, Case{1, 2, 5, 1, 0}, Case{1, -1, 5, 1, 0}}) {
        SCOPED_TRACE(testing::Message() << c.dstChannel << " " << c.srcChannel << " " << c.count);
        TypeParam target(1000, 3, 7);
        target.fillValue(0.0, all);
        EXPECT_EQ(target.copyFrom(c.dstChannel, source, c.srcChannel, c.count), c.result);
        for (int i = 0; i < target.samples(); ++i) {
            const bool isCopied = i % 3 == c.dstChannel && i / 3 < c.copied;
            EXPECT_EQ(target.data()[i], isCopied ? 100 + i / 3 * 2 + c.srcChannel : 0) << i;
        }
    }
}

TYPED_TEST(AlsaBuf, SineIsThatOfTheFormula) {
    struct Case {
        double freq, level, phase;
        int channels, msec, mask;
    };
    for (const Case& c : {Case{997, 1.0, 0, 2, 1000, all}, Case{1000, 7.0, 1.0, 1, 1000, 1},
                          Case{20, 0.125, 6.0, 6, 1000, 0x2A}, Case{23999, -18.0, 3.0, 2, 1000, 2},
                          Case{12000, 1.0, 0, 1, 1000, 1}, // peaks at full scale
                          Case{50000, 0.5, 0.1, 4, 400, 0xF0F}, Case{-440, -0.001, 0, 1, 333, 1},
                          Case{0, 1.0, 1.0, 1, 10, 1}, Case{997, 0.9, -400.0, 33, 17, all},
                          Case{997, 0.9, 0, 2, 50, 0}}) {
        SCOPED_TRACE(testing::Message() << c.freq << " Hz, level " << c.level);
        TypeParam buffer(48000, c.channels, c.msec);
        scribble(buffer, 1);
        const auto before = contents(buffer);
        double phase = c.phase;
        buffer.setFrameLimit(3);
        buffer.fillSine(c.freq, c.level, phase, c.mask);
        EXPECT_EQ(buffer.limit(), buffer.frames());
        double worst = 0;
        bool leftAlone = true;
        for (int frame = 0; frame < buffer.frames(); ++frame) {
            const double value = plainSine(c.freq, c.level, c.phase, 48000, frame);
            for (int channel = 0; channel < c.channels; ++channel)
                if (channel < 32 && c.mask >> channel & 1)
                    worst = std::max(worst, roundingError(buffer, frame, channel, value));
                else
                    leftAlone &= sampleAt(buffer, frame, channel) ==
                                 before[static_cast<std::size_t>(frame) * c.channels + channel];
        }
        EXPECT_LE(worst, nearestInteger);
        EXPECT_TRUE(leftAlone);
        const double end = buffer.frames() * (turn * c.freq / 48000) + c.phase;
        EXPECT_TRUE(phase >= 0 && phase <= turn) << phase;
        EXPECT_NEAR(std::remainder(phase - end, turn), 0.0, 1e-9);
    }
}

TEST(AlsaBuf32, ClipsTheSineWithDC) {
    struct Case {
        double level, dc;
        int clipped, lowest, highest;
    };
    // A sine of a quarter of the sample rate: 0, 1, 0, -1.
    for (const Case& c :
         {Case{1.0, 0.0, 0, -2147483646, 2147483647}, Case{0.5, 0.5, 0, 0, 2147483647},
          Case{0.5, -0.5, 0, -2147483646, 0}, Case{1.0, 0.5, 1, -1073741823, 2147483647},
          Case{1.0, -0.5, 1, -2147483646, 1073741824}, Case{0.0, 1.5, 1, 2147483647, 2147483647},
          Case{0.0, -1.5, 1, -2147483646, -2147483646}, Case{0.0, nan, 0, 0, 0},
          Case{1.0, infinite, 1, 2147483647, 2147483647}}) {
        SCOPED_TRACE(testing::Message() << c.level << " " << c.dc);
        KLTalsaBuf32 buffer(48000, 1, 10);
        double phase = 0;
        EXPECT_EQ(buffer.fillSineDC(12000, c.level, phase, c.dc, 1), c.clipped);
        const auto samples = contents(buffer);
        EXPECT_NEAR(*std::min_element(samples.begin(), samples.end()), c.lowest, 1.0);
        EXPECT_NEAR(*std::max_element(samples.begin(), samples.end()), c.highest, 1.0);
        EXPECT_GE(*std::min_element(samples.begin(), samples.end()), -2147483646); // 0x80000002
    }
}

// Rounding must not be taken for clipping.
TEST(AlsaBuf32, ASineAtFullScaleIsNotClipped) {
    for (int divider = 4; divider < 400; divider += 4) // a frame at each peak
        for (double phase : {0.0, turn / 8, turn / 4, 1.0}) {
            KLTalsaBuf32 buffer(48000, 1, 100);
            EXPECT_EQ(buffer.fillSineDC(48000.0 / divider, 1.0, phase, 0.0, 1), 0) << divider;
        }
    // Nor what would come behind the end.
    double phase = 0;
    KLTalsaBuf32 buffer(48000, 1, 1);
    EXPECT_EQ(buffer.fillSineDC(80, 1.0, phase, 0.5, 1), 0);
    EXPECT_EQ(buffer.fillSineDC(80, 1.0, phase, 0.5, 1), 1);
}

TYPED_TEST(AlsaBuf, FillsAValue) {
    using Sample = SampleOf<TypeParam>;
    constexpr Sample lowest = std::numeric_limits<Sample>::min();
    constexpr Sample highest = std::numeric_limits<Sample>::max();
    constexpr Sample quarter = highest / 4 + 1; // of 32767, 8191.75 + 0.5 is 8192
    const std::pair<double, Sample> cases[] = {{0.0, 0},
                                               {0.25, quarter},
                                               {1.0, highest},
                                               {1.0001, highest},
                                               {1e300, highest},
                                               {-0.25, 1 - quarter},
                                               {-1.0, lowest + 2},
                                               {-1.0001, lowest},
                                               {-infinite, lowest},
                                               {nan, 0}};
    for (const auto& [value, sample] : cases) {
        TypeParam buffer(1000, 3, 600);
        scribble(buffer, 2);
        auto expected = contents(buffer);
        for (std::size_t i = 0; i < expected.size(); ++i)
            if (i % 3 != 1) expected[i] = sample;
        buffer.setFrameLimit(2);
        buffer.fillValue(value, 5);
        EXPECT_EQ(contents(buffer), expected) << value;
        EXPECT_EQ(buffer.limit(), 600);
    }
}

TYPED_TEST(AlsaBuf, NoiseIsThatOfRand) {
    for (const double level : {3.0, 1.0, 0.3, -20.0, 0.0, nan}) {
        TypeParam buffer(48000, 3, 100);
        buffer.setFrameLimit(7);
        buffer.advance(2);
        srand(5);
        buffer.fillNoise(level);
        srand(5);
        double worst = 0;
        for (int frame = 0; frame < buffer.frames(); ++frame) {
            const double span = std::isnan(level) ? 0 : 2 * plainAmplitude(level);
            const double value = (rand() / 2147483647.0 - 0.5) * span;
            for (int channel = 0; channel < 3; ++channel)
                worst = std::max(worst, roundingError(buffer, frame, channel, value));
        }
        EXPECT_LE(worst, nearestInteger) << level;
        EXPECT_EQ(buffer.limit(), 7);
        EXPECT_EQ(buffer.position(), 2);
    }
}

void expectSame(const KLTalsaAinfo& got, const KLTalsaAinfo& plain) {
    EXPECT_NEAR(got.rmsTotal, plain.rmsTotal, 1e-12);
    EXPECT_NEAR(got.dc, plain.dc, 1e-12);
    EXPECT_NEAR(got.rms * got.rms, plain.rms * plain.rms, 1e-12);
    EXPECT_NEAR(got.clip, plain.clip, 1e-12);
    EXPECT_NEAR(got.min, plain.min, 1e-15);
    EXPECT_NEAR(got.max, plain.max, 1e-15);
    EXPECT_NEAR(got.swing, plain.swing, 1e-15);
}

TYPED_TEST(AlsaBuf, AnalysesAsAPlainLoop) {
    using Sample = SampleOf<TypeParam>;
    constexpr Sample lowest = std::numeric_limits<Sample>::min();
    constexpr Sample highest = std::numeric_limits<Sample>::max();
    TypeParam buffer(48000, 5, 1000);
    scribble(buffer, 3);
    for (int frame = 0; frame < buffer.frames(); ++frame) {
        Sample* samples = buffer.data() + std::ptrdiff_t{frame} * 5;
        samples[1] = highest; // not above full scale, so that the minimum is 1
        samples[2] = lowest;  // beyond full scale; the maximum starts at -1
        samples[3] = static_cast<Sample>(frame % 3 == 0 ? -highest : frame % 3 - 1);
    }
    for (const int count : {1, 2, 47999, 48000, 50000, std::numeric_limits<int>::max()}) {
        std::array<KLTalsaAinfo, 5> infos;
        infos[0].dc = 99;
        buffer.info(infos.data(), count);
        for (int channel = 0; channel < 5; ++channel) {
            SCOPED_TRACE(testing::Message() << count << " frames, channel " << channel);
            expectSame(infos[channel], plainInfo(buffer, channel, std::min(count, 48000)));
        }
    }
    for (const int count : {0, -1, std::numeric_limits<int>::min()}) {
        std::array<KLTalsaAinfo, 5> infos;
        infos.fill({1, 2, 3, 4, 5, 6, 7});
        buffer.info(infos.data(), count);
        for (const KLTalsaAinfo& info : infos)
            expectSame(info, KLTalsaAinfo{});
    }
    EXPECT_EQ(KLTalsaAinfo{}.min, 1.0);
    EXPECT_EQ(KLTalsaAinfo{}.max, -1.0);
}

TYPED_TEST(AlsaBuf, LevelsAreThoseOfTheSine) {
    const double sineFactor_dB = 20 * std::log10(std::sqrt(0.5));
    for (const double level_dB : {-0.0001, -6.0, -18.0, -24.74, -40.0}) {
        TypeParam buffer(48000, 2, 1000);
        double phase = 0;
        buffer.fillSine(997, level_dB, phase, all);
        std::array<KLTalsaAinfo, 2> infos;
        buffer.info(infos.data(), buffer.frames());
        EXPECT_NEAR(KLTalsaAinfo::dB(infos[1].rms), level_dB + sineFactor_dB, 0.001);
        EXPECT_NEAR(KLTalsaAinfo::dB(infos[1].swing), level_dB, 0.02);
        EXPECT_NEAR(KLTalsaAinfo::dBfact(level_dB), plainAmplitude(level_dB), 1e-12);
    }
    EXPECT_EQ(KLTalsaAinfo::dB(0.0), -1000.0);
    EXPECT_EQ(KLTalsaAinfo::dB(-1.0), -1000.0);
}

TYPED_TEST(AlsaBuf, ArgumentsOfTheSineThatAreNoSoundMakeSilence) {
    struct Case {
        double freq, level, phase;
    };
    for (const Case& c :
         {Case{nan, 1.0, 0.0}, Case{infinite, 1.0, 0.0}, Case{997, nan, 0.0},
          Case{997, -infinite, 0.0}, Case{997, 1.0, nan}, Case{997, 1.0, -infinite}}) {
        SCOPED_TRACE(testing::Message() << c.freq << " " << c.level << " " << c.phase);
        TypeParam buffer(48000, 1, 10);
        scribble(buffer, 4);
        double phase = c.phase;
        buffer.fillSine(c.freq, c.level, phase, all);
        EXPECT_EQ(contents(buffer), std::vector<SampleOf<TypeParam>>(480, 0));
        EXPECT_TRUE(phase >= 0 && phase <= turn) << phase;
    }
    for (const auto& [freq, phase0] : {std::pair{1e290, 0.0}, {997.0, -1e300}}) {
        TypeParam buffer(48000, 1, 10);
        double phase = phase0;
        buffer.fillSine(freq, infinite, phase, all);
        EXPECT_TRUE(phase >= 0 && phase <= turn) << freq << " " << phase;
    }
}

} // namespace
