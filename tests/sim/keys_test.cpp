#include "sim/models/keys.h"

#include <gtest/gtest.h>

using k4sim::Keys;

namespace {

// The key status word with just this key pressed, both encoders at 0.
struct KeyWord {
    char key;
    std::uint32_t word;
};

constexpr KeyWord key_words[] = {
    {'0', 0x0000F7FF}, {'1', 0x0000FFEF}, {'2', 0x0000FEFF}, {'3', 0x0000EFFF}, {'4', 0x0000FFDF},
    {'5', 0x0000FDFF}, {'6', 0x0000DFFF}, {'7', 0x0000FFBF}, {'8', 0x0000FBFF}, {'9', 0x0000BFFF},
    {'*', 0x0000FF7F}, {'#', 0x00007FFF}, {'K', 0x8000FFFF}, {'E', 0x0000FFFB}, {'A', 0x0000FFF7},
    {'C', 0x0000FFFE}, {'D', 0x0000FFFD}, {'M', 0x0080FFFF},
};

TEST(KeysTest, each_key_has_its_bit_in_the_word) {
    Keys keys(6);
    EXPECT_EQ(keys.read(), 0x0000FFFFu);
    for (const auto& [key, word] : key_words) {
        EXPECT_TRUE(keys.press(key));
        EXPECT_TRUE(keys.peek_pressed(key));
        EXPECT_EQ(keys.read(), word) << key;
        EXPECT_TRUE(keys.release(key));
        EXPECT_EQ(keys.read(), 0x0000FFFFu) << key;
    }
    EXPECT_EQ(std::size(key_words), k4sim::key_characters.size());
}

TEST(KeysTest, encoder_counters_fill_their_fields_and_wrap) {
    const struct {
        unsigned bits;
        int encoder, steps;
        std::uint32_t word;
    } cases[] = {
        {6, 1, 1, 0x0100FFFF},  {6, 1, -1, 0x3F00FFFF}, {6, 1, 64, 0x0000FFFF},
        {6, 2, 3, 0x0003FFFF},  {6, 2, -1, 0x003FFFFF}, {6, 2, 65, 0x0001FFFF},
        {4, 1, -1, 0x0F00FFFF}, {4, 1, 17, 0x0100FFFF}, {4, 2, -2, 0x000EFFFF},
    };
    for (const auto& [bits, encoder, steps, word] : cases) {
        Keys keys(bits);
        EXPECT_TRUE(keys.turn(encoder, steps));
        EXPECT_EQ(keys.read(), word) << bits << " bits, encoder " << encoder << ", " << steps;
        EXPECT_EQ(keys.peek_counter(encoder), encoder == 1 ? word >> 24 : word >> 16);
    }
}

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
