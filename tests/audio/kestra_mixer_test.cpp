#include "audio/kestra_mixer.h"

#include "baselib/print/astrs.h"
#include "sim/models/device.h"
#include "support/boards.h"

#include <gmock/gmock.h>

using k4sim::Board;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

namespace {

class KestraMixer : public BoardTest {
protected:
    // Opens the mixer of a board as it is after power-on.
    int open(Board board, const char* missing = nullptr) {
        use_board(board);
        if (missing) card().set_control_missing(missing);
        return mixer.openMixer(board == Board::aes, "default");
    }
    static k4sim::SoundCard& card() { return k4sim::machine().device().sound_card(); }
    static const k4sim::CodecSettings& settings() { return card().codec().settings(); }
    std::string dump() {
        KLTastrs text;
        mixer.dump(text);
        return text.str().text();
    }

    KLTkestraMixer mixer;
};

TEST_F(KestraMixer, SetsTheMaskedChannelsOrThePowerOnState) {
    for (const auto& [board, input_level] : {std::pair{Board::aes, 24}, {Board::plain, 0}}) {
        ASSERT_EQ(open(board), 0);
        EXPECT_EQ(mixer.setHPout(1, 1), 0);
        EXPECT_EQ(mixer.setOutlevel(2, 2), 0);
        EXPECT_EQ(mixer.setInlevel(3, -1), 0);
        EXPECT_EQ(mixer.setIngain(4, 0x3FE), 0); // most of them don't exist
        EXPECT_THAT(settings().headphone, ElementsAre(1, 0));
        EXPECT_THAT(settings().line_out, ElementsAre(0, 2));
        EXPECT_THAT(settings().line_in, ElementsAre(3, 3));
        EXPECT_THAT(settings().line_in_level, ElementsAre(0, 4));
        mixer.setMicgain(true, 3);
        mixer.setPhantom(true, 3);
        EXPECT_EQ(mixer.initDefaults(), 0);
        const k4sim::CodecSettings::Pair<bool> on{true, true}, off{};
        EXPECT_THAT(settings().line_out, ElementsAre(127, 127));
        EXPECT_THAT(settings().headphone, ElementsAre(0, 0));
        EXPECT_THAT(settings().line_in_level, ElementsAre(0, 0));
        EXPECT_THAT(settings().line_in, ElementsAre(input_level, input_level));
        EXPECT_TRUE(settings().line_out_on == on && settings().headphone_on == on);
        EXPECT_TRUE(settings().line_in_on == on);
        EXPECT_TRUE(settings().boost == off && settings().phantom == off);
    }
}

TEST_F(KestraMixer, SwitchesPhantomPowerAndBoostOfEachInput) {
    ASSERT_EQ(open(Board::plain), 0);
    const struct {
        int on, mask, input1, input2;
    } steps[] = {{1, 3, 1, 1}, {0, 1, 0, 1}, {1, 1, 1, 1}, {0, 2, 1, 0}, {0, -1, 0, 0}};
    for (const auto& [on, mask, input1, input2] : steps) {
        EXPECT_EQ(mixer.setPhantom(on, mask), 0);
        EXPECT_EQ(mixer.setMicgain(on, mask), 0);
        EXPECT_THAT(settings().phantom, ElementsAre(input1, input2)) << mask;
        EXPECT_THAT(settings().boost, ElementsAre(input1, input2)) << mask;
    }
}

// With AES/EBU hardware the switches are never looked up, even on a card that has them.
TEST_F(KestraMixer, LeavesTheSwitchesOfTheCpldAlone) {
    ASSERT_EQ(open(Board::plain), 0);
    mixer.setPhantom(true, 3);
    ASSERT_EQ(mixer.openMixer(true, "default"), 0);
    EXPECT_EQ(mixer.setPhantom(false, 3), 0);
    EXPECT_EQ(mixer.setMicgain(true, 3), 0);
    EXPECT_THAT(settings().phantom, ElementsAre(true, true));
    EXPECT_FALSE(mixer[4].isOpen() || mixer[5].isOpen());
    EXPECT_EQ(open(Board::plain, "Phantom"), KLTmixerNotOpen);
}

TEST_F(KestraMixer, TellsWhatItHasNot) {
    EXPECT_EQ(open(Board::aes, "Line In Level"), KLTmixerNotOpen);
    for (int index = 0; index < 6; ++index)
        EXPECT_EQ(mixer[index].isOpen(), index < 3) << index;
    EXPECT_EQ(mixer.setIngain(1, 3), KLTmixerNotOpen);
    EXPECT_EQ(mixer.setOutlevel(7, 3), 0);
    EXPECT_EQ(&mixer[6], &mixer[0]);
    EXPECT_EQ(&mixer[-1], &mixer[0]);
    EXPECT_EQ(mixer.name(), KLTastrc("default"));
    EXPECT_EQ(mixer.openMixer(true, ""), KLTmixerNoName);
    testing::internal::CaptureStderr(); // what libasound says
    EXPECT_EQ(mixer.openMixer(true, "nosuchdevice"), KLTmixerAttachFailed);
    testing::internal::GetCapturedStderr();
    EXPECT_EQ(mixer.handle(), nullptr);
    EXPECT_EQ(mixer.initMixer(0, "Headphone", true), KLTmixerNotOpen);
    ASSERT_EQ(open(Board::plain), 0);
    EXPECT_EQ(mixer[3].switches(1), KLTmixerNoSuchControl);
    EXPECT_EQ(mixer[5].volume(1, 3), KLTmixerNoSuchControl);
    mixer[0].playback(false);
    EXPECT_EQ(mixer.setHPout(1, 3), KLTmixerNoSuchControl);
    card().set_controls_refused(true);
    EXPECT_LT(mixer.setOutlevel(99, 3), 0);
}

TEST_F(KestraMixer, DumpsTheSwitchesOnlyWhereTheyAreNotOpen) {
    ASSERT_EQ(open(Board::plain), 0);
    mixer.setInlevel(5, 2);
    EXPECT_THAT(dump(),
                HasSubstr("Line In: capture, channels 0 1, volume 0 5 of 0..31, switch 0 0\n"));
    EXPECT_THAT(dump(), Not(testing::ContainsRegex("Phantom|not open")));
    ASSERT_EQ(open(Board::aes), 0);
    EXPECT_THAT(dump(),
                testing::EndsWith("Line In Level: capture, channels 0 1, volume 0 0 of 0..15\n"
                                  "(not open)\n(not open)\n"));
}

} // namespace
