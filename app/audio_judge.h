#pragma once
// What the levels of a cycle mean: silence, loopback, loop gain.

#include "app/audio_loop.h"

// Levels are in dB re digital full scale; a sine at full scale has an RMS of -3.0103 dB.
namespace audioLevels {

inline constexpr double loopTone_db = -18.0; // peak of the tone until there is loopback
inline constexpr double sweepTone_db = -6.0;
inline constexpr double sineRms_db = -3.0103; // re its peak
inline constexpr double tolerance_db = 2.0;

} // namespace audioLevels

// The inputs without a cable: hardly any noise, no DC offset.
class SilenceJudge {
public:
    // By how much an input is above its limit: RMS (-78 dB) of inputs 1 and 2, DC (-45 dB) of
    // inputs 1 and 2. 0 and less is good.
    using Margins = std::array<double, 2 * audioInputs>;
    static Margins margins(const AudioLevels& levels);

    // Counts a cycle. True with the eighth good one in a row.
    bool accept(const Margins& margins);

private:
    int goodCycles_ = 0;
};

// The tone has come back to both inputs: 14 dB below the swing that it should have, or more.
class LoopbackJudge {
public:
    enum class Result { notLooked, absent, present };

    explicit LoopbackJudge(double loopGain_db)
        : swing_db_(loopGain_db + audioLevels::loopTone_db) {}

    // The swing that the inputs should see.
    double nominalSwing_db() const { return swing_db_; }

    // Looks at every third cycle only, so that what it changes can settle.
    Result accept(const AudioLevels& levels);

private:
    double swing_db_;
    int cycle_ = 0; // modulo 3
};

// The RMS that the tones of the sweep should have.
class GainJudge {
public:
    explicit GainJudge(double loopGain_db)
        : expected_db_(loopGain_db + audioLevels::sweepTone_db + audioLevels::sineRms_db) {}

    double expected_db() const { return expected_db_; }
    double lowest_db() const { return expected_db_ - audioLevels::tolerance_db; }
    double highest_db() const { return expected_db_ + audioLevels::tolerance_db; }
    bool isGood(double level_db) const {
        return level_db >= lowest_db() && level_db <= highest_db();
    }

private:
    double expected_db_;
};
