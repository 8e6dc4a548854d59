#include "app/audio_judge.h"

#include <algorithm>
#include <cmath>

namespace {

constexpr double rmsLimit_db = -78.0;
constexpr double dcLimit_db = -45.0;
constexpr int goodCyclesNeeded = 8;

constexpr double loopbackBelowNominal_db = 14.0;
constexpr int loopbackCycles = 3;

} // namespace

SilenceJudge::Margins SilenceJudge::margins(const AudioLevels& levels) {
    Margins margins{};
    for (size_t input = 0; input < levels.size(); ++input) {
        margins[input] = KLTalsaAinfo::dB(levels[input].rms) - rmsLimit_db;
        margins[audioInputs + input] = KLTalsaAinfo::dB(std::fabs(levels[input].dc)) - dcLimit_db;
    }
    return margins;
}

bool SilenceJudge::accept(const Margins& margins) {
    const bool good = std::all_of(margins.begin(), margins.end(),
                                  [](double margin_db) { return margin_db <= 0; });
    goodCycles_ = good ? goodCycles_ + 1 : 0;
    return goodCycles_ >= goodCyclesNeeded;
}

LoopbackJudge::Result LoopbackJudge::accept(const AudioLevels& levels) {
    const bool looks = cycle_ == loopbackCycles - 1;
    cycle_ = (cycle_ + 1) % loopbackCycles;
    if (!looks) return Result::notLooked;
    const double lowest_db = swing_db_ - loopbackBelowNominal_db;
    const bool present =
        std::all_of(levels.begin(), levels.end(), [lowest_db](const KLTalsaAinfo& input) {
            return KLTalsaAinfo::dB(input.rms) >= lowest_db;
        });
    return present ? Result::present : Result::absent;
}
