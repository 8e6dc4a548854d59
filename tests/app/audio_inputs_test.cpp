#include "app/audio_inputs.h"

#include "support/boards.h"

#include "sim/models/device.h"

namespace {

using AudioInputsTest = BoardTest;

// However little of the card answers then.
TEST_F(AudioInputsTest, AnotherObjectWritesAgainWhatWasRefused) {
    use_board(k4sim::Board::plain);
    k4sim::SoundCard& card = k4sim::machine().device().sound_card();
    const auto& phantom = card.codec().settings().phantom;
    AudioInputs inputs, last;
    ASSERT_TRUE(inputs.detect() && inputs.openMixer());
    EXPECT_EQ(inputs.setPhantom(true, AudioInputs::both), 0);
    card.set_controls_refused(true);
    inputs.makeSafe();
    EXPECT_TRUE(phantom[0] && phantom[1]);
    card.set_controls_refused(false);
    card.set_control_missing("Line Out", true);
    last.reopen();
    last.makeSafe();
    EXPECT_FALSE(phantom[0] || phantom[1]);
}

} // namespace
