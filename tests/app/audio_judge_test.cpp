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
    for (const auto& [heard, result] : {std::pair{tone, Result::notLooked},
                                        {tone, Result::notLooked},
                                        {none, Result::absent},
                                        {none, Result::notLooked},
                                        {tone, Result::notLooked},
                                        {tone, Result::present}})
        EXPECT_EQ(judge.accept(heard), result);
}

TEST(LoopbackJudge, NeedsTheToneAtBothInputs) {
    struct Case {
        double loopGain_db, rms1_db, rms2_db;
        bool present;
    };
    for (const Case& c :
         {Case{0, -31.99, -31.99, true}, Case{0, -32.01, -21, false}, Case{0, -21, -32.01, false},
          Case{-6.74, -38.73, -38.73, true}, Case{-6.74, -38.75, -27.75, false}}) {
        LoopbackJudge judge(c.loopGain_db);
        const AudioLevels heard = levels(c.rms1_db, c.rms2_db);
        judge.accept(heard);
        judge.accept(heard);
        EXPECT_EQ(judge.accept(heard) == LoopbackJudge::Result::present, c.present) << c.rms1_db;
    }
}

TEST(GainJudge, AcceptsTwoDecibelsAroundTheExpectedLevel) {
    for (const auto& [loopGain_db, level_db, good] : {std::tuple{0.0, -11.0102, true},
                                                      {0.0, -7.0104, true},
                                                      {0.0, -11.0104, false},
                                                      {0.0, -7.0102, false},
                                                      {0.0, -1000.0, false},
                                                      {-6.74, -17.7502, true},
                                                      {-6.74, -13.7504, true},
                                                      {-6.74, -17.7504, false},
                                                      {-6.74, -13.7502, false}})
        EXPECT_EQ(GainJudge(loopGain_db).isGood(level_db), good) << level_db;
}

} // namespace
