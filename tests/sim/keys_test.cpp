#include "sim/models/panel/keys.h"

#include <gtest/gtest.h>

using k4sim::Keys;

namespace {

TEST(KeysTest, AHeldKeyStaysDownADeadKeyUpAndADeadEncoderStill) {
    Keys keys(6);
    keys.set_held('7');
    keys.set_dead('3');
    keys.set_encoder_dead(2);
    keys.release('7');
    keys.press('3');
    keys.turn(2, 5);
    keys.turn(1, 1);
    EXPECT_EQ(keys.read(), 0x0100FFBFu);
    keys.reset();
    keys.press('3');
    keys.turn(2, 5);
    EXPECT_EQ(keys.read(), 0x0005EFFFu);
}

} // namespace
