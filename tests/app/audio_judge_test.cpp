#include "app/audio_judge.h"

#include <cmath>
#include <gtest/gtest.h>

namespace {

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
        EXPECT_NEAR(margins[i], expected[i], 1e-6) << i;
}

TEST(SilenceJudge, NeedsEightGoodCyclesInARow) {
    for (size_t loud = 0; loud < 4; ++loud) {
        SilenceJudge judge;
        for (int cycle = 1; cycle <= 17; ++cycle) {
            SilenceJudge::Margins margins{-1, 0, -0.5, 0};
            if (cycle == 1 || cycle == 9) margins[loud] = 0.001;
            EXPECT_EQ(judge.accept(margins), cycle == 17) << cycle << " " << loud;
        }
    }
}

TEST(LoopbackJudge, NeedsTheToneAtBothInputsInAThirdCycle) {
    using Result = LoopbackJudge::Result;
    for (const auto& [gain_db, rms1_db, rms2_db, result] :
         {std::tuple{0.0, -31.99, -31.99, Result::present},
          {0.0, -21.0, -32.01, Result::absent},
          {-6.74, -38.73, -38.73, Result::present},
          {-6.74, -38.75, -27.75, Result::absent}}) {
        LoopbackJudge judge(gain_db);
        for (int cycle = 1; cycle <= 9; ++cycle)
            EXPECT_EQ(judge.accept(levels(rms1_db, rms2_db)),
                      cycle % 3 == 0 ? result : Result::notLooked)
                << cycle << " of " << rms1_db;
    }
}

TEST(GainJudge, AcceptsTwoDecibelsAroundTheExpectedLevel) {
    for (const double gain_db : {0.0, -6.74})
        for (const double border_db : {-11.0103, -7.0103})
            for (const double inside_db : {-0.0001, 0.0001}) {
                const bool good = (inside_db > 0) == (border_db < -9);
                EXPECT_EQ(GainJudge(gain_db).isGood(gain_db + border_db + inside_db), good);
            }
}

} // namespace
