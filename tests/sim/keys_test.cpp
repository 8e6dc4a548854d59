#include "sim/models/keys.h"

#include <gtest/gtest.h>

using k4sim::Keys;

namespace {

TEST(KeysTest, a_held_key_stays_down_a_dead_key_up_and_a_dead_encoder_still) {
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
