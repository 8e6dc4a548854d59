#include "audio/kestra_mixer.h"

#include "baselib/print/astrs.h"
#include "sim/machine/machine.h"
#include "sim/models/device.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>

using k4sim::Board;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

namespace {

class KestraMixer : public testing::Test {
protected:
    ~KestraMixer() override { k4sim::machine().reset(); }

    // Opens the mixer of a board as it is after power-on.
    int open(Board board, const char* missing = nullptr) {
        k4sim::Setup setup;
        setup.board = board;
        k4sim::machine().reset(setup);
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

TEST_F(KestraMixer, SetsThePowerOnStateOfEachBoard) {
    for (const auto& [board, inputLevel] : {std::pair{Board::aes, 24}, {Board::plain, 0}}) {
        ASSERT_EQ(open(board), 0);
        mixer.setHPout(9, 3);
        mixer.setIngain(9, 3);
        mixer.setMicgain(true, 3);
        mixer.setPhantom(true, 3);
        EXPECT_EQ(mixer.initDefaults(), 0);
        EXPECT_THAT(settings().line_out, ElementsAre(127, 127));
        EXPECT_THAT(settings().headphone, ElementsAre(0, 0));
        EXPECT_THAT(settings().line_in_level, ElementsAre(0, 0));
        EXPECT_THAT(settings().line_in, ElementsAre(inputLevel, inputLevel));
        for (const auto& on :
             {settings().line_out_on, settings().headphone_on, settings().line_in_on})
            EXPECT_THAT(on, ElementsAre(true, true));
        for (const auto& off : {settings().boost, settings().phantom})
            EXPECT_THAT(off, ElementsAre(false, false));
    }
}

TEST_F(KestraMixer, SetsTheVolumesOfTheMaskedChannels) {
    ASSERT_EQ(open(Board::aes), 0);
    EXPECT_EQ(mixer.setHPout(1, 1), 0);
    EXPECT_EQ(mixer.setOutlevel(2, 2), 0);
    EXPECT_EQ(mixer.setInlevel(3, -1), 0);
    EXPECT_EQ(mixer.setIngain(4, 0x3FC), 0); // channels that don't exist
    EXPECT_THAT(settings().headphone, ElementsAre(1, 0));
    EXPECT_THAT(settings().line_out, ElementsAre(0, 2));
    EXPECT_THAT(settings().line_in, ElementsAre(3, 3));
    EXPECT_THAT(settings().line_in_level, ElementsAre(0, 0));
}

TEST_F(KestraMixer, SwitchesPhantomPowerAndBoostOfEachInput) {
    ASSERT_EQ(open(Board::plain), 0);
    const struct {
        bool on;
        int mask;
        bool input1, input2;
    } steps[] = {{true, 3, true, true},
                 {false, 1, false, true},
                 {true, 1, true, true},
                 {false, 2, true, false},
                 {false, -1, false, false}};
    for (const auto& step : steps) {
        EXPECT_EQ(mixer.setPhantom(step.on, step.mask), 0);
        EXPECT_EQ(mixer.setMicgain(step.on, step.mask), 0);
        EXPECT_THAT(settings().phantom, ElementsAre(step.input1, step.input2)) << step.mask;
        EXPECT_THAT(settings().boost, ElementsAre(step.input1, step.input2)) << step.mask;
    }
}

// With AES/EBU hardware the switches are never looked up, even on a card that has them.
TEST_F(KestraMixer, LeavesTheSwitchesOfTheCpldAlone) {
    open(Board::plain);
    mixer.setPhantom(true, 3);
    ASSERT_EQ(mixer.openMixer(true, "default"), 0);
    EXPECT_EQ(mixer.setPhantom(false, 3), 0);
    EXPECT_EQ(mixer.setMicgain(true, 3), 0);
    EXPECT_THAT(settings().phantom, ElementsAre(true, true));
    EXPECT_FALSE(mixer[4].isOpen());
    EXPECT_FALSE(mixer[5].isOpen());
    EXPECT_EQ(open(Board::plain, "Phantom"), KLTmixerNotOpen);
}

TEST_F(KestraMixer, OpensUpToTheFirstMissingElement) {
    EXPECT_EQ(open(Board::aes, "Line In Level"), KLTmixerNotOpen);
    for (int index = 0; index < 6; ++index)
        EXPECT_EQ(mixer[index].isOpen(), index < 3) << index;
    EXPECT_EQ(mixer.setIngain(1, 3), KLTmixerNotOpen);
    EXPECT_EQ(mixer.setOutlevel(7, 3), 0);
    EXPECT_EQ(&mixer[6], &mixer[0]);
    EXPECT_EQ(&mixer[-1], &mixer[0]);
}

TEST_F(KestraMixer, TellsWhatItHasNot) {
    EXPECT_EQ(mixer.openMixer(true, ""), KLTmixerNoName);
    EXPECT_EQ(mixer.openMixer(true, "nosuchdevice"), KLTmixerAttachFailed);
    EXPECT_EQ(mixer.handle(), nullptr);
    EXPECT_EQ(mixer.initMixer(0, "Headphone", true), KLTmixerNotOpen);
    ASSERT_EQ(open(Board::plain), 0);
    EXPECT_EQ(mixer.name(), KLTastrc("default"));
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
    EXPECT_THAT(dump(), Not(HasSubstr("Phantom")));
    EXPECT_THAT(dump(), Not(HasSubstr("(not open)")));
    ASSERT_EQ(open(Board::aes), 0);
    EXPECT_THAT(dump(),
                testing::EndsWith("Line In Level: capture, channels 0 1, volume 0 0 of 0..15\n"
                                  "(not open)\n(not open)\n"));
}

} // namespace
