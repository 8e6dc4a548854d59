#include "keypad_model.h"

#include <gtest/gtest.h>
#include <random>

// Keys and knobs in any order, several in one word, and more than there is room for.
TEST(Keypad, DoesWhatItsModelDoes) {
    std::mt19937 random(1);
    for (int run = 0; run < 300; ++run) {
        CHfpK4keyBuf keys;
        KeypadModel model;
        std::uint32_t word = random();
        for (int step = 0; step < 200; ++step) {
            word ^= 1U << random() % 32 | 1U << random() % 32;
            word += (random() % 7 - 3) << (random() % 2 ? 16 : 24);
            ASSERT_TRUE(agree(keys, model, random() % 256, word)) << run << " " << step;
        }
    }
}

// Worked out by hand: what a knob makes of a move from one position to another.
TEST(Keypad, KnobsWrapBothWaysAndDropNoise) {
    const int moves[][4] = {
        {7, 0, 6, 6},   {7, 6, 0, -6}, {7, 3, 10, 0},  {7, 13, 2, 5},   {7, 2, 13, -5},
        {7, 3, 13, 0},  {7, 12, 2, 0}, {8, 0, 7, 7},   {8, 15, 1, -14}, {8, 10, 40, 30},
        {8, 10, 41, 0}, {8, 61, 2, 5}, {8, 2, 61, -5}, {8, 60, 2, 0},   {8, 3, 61, 0},
    };
    for (const auto& [version, from, to, steps] : moves) {
        CHfpK4keyBuf keys;
        keys.init(version);
        keys.analyze(0xFFFF | static_cast<unsigned>(from) << 24);
        EXPECT_EQ(keys.analyze(0xFFFF | static_cast<unsigned>(to) << 24),
                  std::min(std::abs(steps), 19));
        EXPECT_EQ(keys.getkey(), steps > 0 ? 13 : steps < 0 ? 12 : -1) << from << " to " << to;
    }
}
