#include "audio/kestra_mixer.h"

#include "baselib/print/astrs.h"
#include "sim/models/device.h"
#include "support/boards.h"

#include <gmock/gmock.h>

using k4sim::Board;
using testing::Each;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;

namespace {

class KestraMixer : public BoardTest {
protected:
    // Opens the mixer of a board as it is after power-on.
    int open(Board board, const char* missing = nullptr) {
        use_board(board);
        if (missing) card().set_control_missing(missing, true);
        return mixer.openMixer(board == Board::aes, "default");
    }
    static k4sim::SoundCard& card() { return k4sim::machine().device().sound_card(); }
    static const k4sim::CodecSettings& settings() { return card().codec().settings(); }
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
        EXPECT_THAT(settings().line_out, Each(127));
        EXPECT_THAT(settings().headphone, Each(0));
        EXPECT_THAT(settings().line_in_level, Each(0));
        EXPECT_THAT(settings().line_in, Each(input_level));
        EXPECT_THAT(settings().line_out_on, Each(true));
        EXPECT_THAT(settings().headphone_on, Each(true));
        EXPECT_THAT(settings().line_in_on, Each(true));
        EXPECT_THAT(settings().boost, Each(false));
        EXPECT_THAT(settings().phantom, Each(false));
    }
}

// With AES/EBU hardware the switches are never looked up, even on a card that has them.
TEST_F(KestraMixer, LeavesTheSwitchesOfTheCpldAloneAndDumpsTheRest) {
    ASSERT_EQ(open(Board::plain), 0);
    mixer.setPhantom(true, 3);
    mixer.setInlevel(5, 2);
    ASSERT_EQ(mixer.openMixer(true, "default"), 0);
    EXPECT_EQ(mixer.setPhantom(false, 3), 0);
    EXPECT_EQ(mixer.setMicgain(true, 3), 0);
    EXPECT_THAT(settings().phantom, Each(true));
    KLTastrs text;
    mixer.dump(text);
    EXPECT_THAT(text.str().text(),
                AllOf(HasSubstr("In: capture, channels 0 1, volume 0 5 of 0..31, switch 0 0\n"),
                      EndsWith("volume 0 0 of 0..15\n(not open)\n(not open)\n")));
}

TEST_F(KestraMixer, TellsWhatItHasNot) {
    EXPECT_EQ(open(Board::plain, "Phantom"), KLTmixerNotOpen);
    EXPECT_EQ(open(Board::aes, "Line In Level"), KLTmixerNotOpen);
    for (int index = 0; index < 6; ++index)
        EXPECT_EQ(mixer[index].isOpen(), index < 3) << index;
    EXPECT_EQ(mixer.setIngain(1, 3), KLTmixerNotOpen);
    EXPECT_EQ(mixer.setOutlevel(7, 3), 0);
    EXPECT_TRUE(&mixer[6] == &mixer[0] && &mixer[-1] == &mixer[0]);
    EXPECT_EQ(mixer.openMixer(true, ""), KLTmixerNoName);
    testing::internal::CaptureStderr();
    EXPECT_EQ(mixer.openMixer(true, "nosuchdevice"), KLTmixerAttachFailed);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "") << "what libasound says";
    EXPECT_EQ(mixer.initMixer(0, "Headphone", true), KLTmixerNotOpen);
    ASSERT_EQ(open(Board::plain), 0);
    EXPECT_EQ(mixer[3].switches(1), KLTmixerNoSuchControl);
    mixer[0].playback(false);
    EXPECT_EQ(mixer.setHPout(1, 3), KLTmixerNoSuchControl);
    EXPECT_EQ(mixer.initMixer(6, "Headphone", true), KLTmixerNotOpen);
    card().set_controls_refused(true);
    EXPECT_LT(mixer.setOutlevel(99, 3), 0);
    mixer.close();
    EXPECT_FALSE(mixer[0].isOpen());
    // What is there is opened although something else is not.
    EXPECT_EQ(open(Board::plain, "Line In Level"), KLTmixerNotOpen);
    mixer.openRest();
    EXPECT_TRUE(mixer[5].isOpen());
}

} // namespace
