#include "app/audio_judge.h"

#include <cmath>
#include <gtest/gtest.h>

namespace {

constexpr double small_db = 1e-6;

double ratio(double level_db) { return std::pow(10.0, level_db / 20.0); }

AudioLevels levels(double rms1_db, double rms2_db, double dc1 = 0, double dc2 = 0) {
    AudioLevels levels;
    levels[0].rms = ratio(rms1_db);
    levels[1].rms = ratio(rms2_db);
    levels[0].dc = dc1;
    levels[1].dc = dc2;
    return levels;
}

TEST(SilenceJudge, MarginsAreRmsThenDcOfBothInputs) {
    const auto margins = SilenceJudge::margins(levels(-80.5, -70.0, -ratio(-50.0), ratio(-40.25)));
    const double expected[] = {-2.5, 8.0, -5.0, 4.75};
    for (size_t i = 0; i < margins.size(); ++i)
        EXPECT_NEAR(margins[i], expected[i], small_db) << i;
    EXPECT_EQ(SilenceJudge::margins(AudioLevels())[0], -1000.0 + 78.0);
}

// The number of cycles until silence is good, with one cycle of other margins among them.
int cyclesNeeded(int oddCycle, const SilenceJudge::Margins& odd) {
    SilenceJudge judge;
    int cycle = 1;
    while (!judge.accept(cycle == oddCycle ? odd : SilenceJudge::Margins{-1, 0, -0.5, 0}))
        ++cycle;
    return cycle;
}

TEST(SilenceJudge, NeedsEightGoodCyclesInARow) {
    EXPECT_EQ(cyclesNeeded(0, {}), 8);
    EXPECT_EQ(cyclesNeeded(8, {0, 0, 0, 0}), 8);
    for (size_t i = 0; i < 4; ++i) {
        SilenceJudge::Margins loud{-1, -1, -1, -1};
        loud[i] = 0.001;
        EXPECT_EQ(cyclesNeeded(1, loud), 9) << i;
        EXPECT_EQ(cyclesNeeded(8, loud), 16) << i;
    }
}

TEST(LoopbackJudge, LooksAtEveryThirdCycle) {
    using Result = LoopbackJudge::Result;
    LoopbackJudge judge(0);
    const AudioLevels none = levels(-90, -90);
    const AudioLevels tone = levels(-21, -21);
    const struct {
        AudioLevels levels;
        Result result;
    } cycles[] = {
        {tone, Result::notLooked}, {tone, Result::notLooked}, {none, Result::absent},
        {none, Result::notLooked}, {tone, Result::notLooked}, {tone, Result::present},
    };
    for (const auto& cycle : cycles)
        EXPECT_EQ(judge.accept(cycle.levels), cycle.result);
}

TEST(LoopbackJudge, NeedsTheToneAtBothInputs) {
    const struct {
        double loopGain_db;
        double rms1_db;
        double rms2_db;
        bool present;
    } cases[] = {
        {0, -31.99, -31.99, true},     {0, -32.01, -21, false},        {0, -21, -32.01, false},
        {-6.74, -38.73, -38.73, true}, {-6.74, -38.75, -27.75, false}, {-6.74, -21, -38.75, false},
        {-6.74, -3, -3, true},
    };
    for (const auto& c : cases) {
        LoopbackJudge judge(c.loopGain_db);
        const AudioLevels heard = levels(c.rms1_db, c.rms2_db);
        judge.accept(heard);
        judge.accept(heard);
        EXPECT_EQ(judge.accept(heard) == LoopbackJudge::Result::present, c.present) << c.rms1_db;
    }
    EXPECT_DOUBLE_EQ(LoopbackJudge(-6.74).nominalSwing_db(), -24.74);
}

TEST(GainJudge, AcceptsTwoDecibelsAroundTheExpectedLevel) {
    const struct {
        double loopGain_db;
        double level_db;
        bool good;
    } cases[] = {
        {0, -9.0103, true},       {0, -11.0102, true},      {0, -7.0104, true},
        {0, -11.0104, false},     {0, -7.0102, false},      {0, -1000, false},
        {-6.74, -15.7503, true},  {-6.74, -17.7502, true},  {-6.74, -13.7504, true},
        {-6.74, -17.7504, false}, {-6.74, -13.7502, false},
    };
    for (const auto& c : cases)
        EXPECT_EQ(GainJudge(c.loopGain_db).isGood(c.level_db), c.good) << c.level_db;
}

} // namespace
