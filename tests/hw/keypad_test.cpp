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
