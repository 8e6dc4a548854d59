#include "hw/keypad.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace {

constexpr std::uint32_t allUp = 0x0000FFFF;

std::uint32_t positions(int encoder1, int encoder2) {
    return allUp | static_cast<std::uint32_t>(encoder1) << 24 |
           static_cast<std::uint32_t>(encoder2) << 16;
}

std::vector<int> drain(CHfpK4keyBuf& keys) {
    std::vector<int> events;
    for (int event = keys.getkey(); event != -1; event = keys.getkey())
        events.push_back(event);
    return events;
}

struct StepCase {
    int panelVersion;
    int from;
    int to;
    int steps; // up is positive
};

// Worked out by hand: what one encoder makes of a move from one position to another.
const StepCase stepCases[] = {
    {0, 5, 5, 0},     {0, 5, 6, 1},   {0, 6, 5, -1},   {0, 0, 6, 6},  {0, 6, 0, -6},
    {0, 4, 11, 0},    {0, 11, 4, 0},  {0, 3, 9, 6},    {0, 3, 10, 0}, {0, 15, 1, 2},
    {0, 1, 15, -2},   {0, 15, 0, 1},  {0, 0, 15, -1},  {0, 13, 2, 5}, {0, 2, 13, -5},
    {0, 12, 2, 0},    {0, 2, 12, 0},  {0, 13, 3, 0},   {0, 3, 13, 0}, {0, 14, 2, 4},
    {7, 15, 1, 2},    {7, 0, 7, 0},   {8, 15, 1, -14}, {8, 0, 7, 7},  {8, 10, 40, 30},
    {8, 40, 10, -30}, {8, 10, 41, 0}, {8, 41, 10, 0},  {8, 63, 1, 2}, {8, 1, 63, -2},
    {8, 61, 2, 5},    {8, 2, 61, -5}, {8, 60, 2, 0},   {8, 3, 61, 0}, {255, 62, 0, 2},
};

void expectSteps(const StepCase& step, int encoder, int codeDown, int codeUp) {
    SCOPED_TRACE(testing::Message() << "encoder " << encoder << " version " << step.panelVersion
                                    << ": " << step.from << " to " << step.to);
    CHfpK4keyBuf keys;
    keys.init(step.panelVersion);
    const auto at = [encoder](int position) {
        return encoder == 1 ? positions(position, 9) : positions(9, position);
    };
    EXPECT_EQ(keys.analyze(at(step.from)), 0) << "no steps from the first word";
    const auto count = static_cast<std::size_t>(std::min(std::abs(step.steps), 19));
    EXPECT_EQ(keys.analyze(at(step.to)), static_cast<int>(count));
    EXPECT_EQ(drain(keys), std::vector<int>(count, step.steps > 0 ? codeUp : codeDown));
}

} // namespace

TEST(Keypad, EncoderStepsWrapBothWaysAndDropNoise) {
    for (const StepCase& step : stepCases) {
        expectSteps(step, 1, 12, 13);
        expectSteps(step, 2, 20, 21);
    }
}

TEST(Keypad, NoiseStillMovesTheRememberedPosition) {
    CHfpK4keyBuf keys;
    keys.analyze(positions(0, 0));
    EXPECT_EQ(keys.analyze(positions(7, 0)), 0);
    EXPECT_EQ(keys.analyze(positions(8, 0)), 1);
    EXPECT_EQ(keys.getkey(), 13);
}

TEST(Keypad, PositionsOfEncoder2HaveSevenBits) {
    CHfpK4keyBuf keys;
    keys.init(8);
    keys.analyze(positions(0, 60));
    EXPECT_EQ(keys.analyze(positions(0, 70)), 10);
}

// Each key's bit, level when pressed, and character on the panel.
TEST(Keypad, EveryKeyGivesItsCodeWhenPressedAndReleased) {
    const struct {
        int bit;
        char character;
    } keyBits[] = {{0, 'C'},  {1, 'D'},  {2, 'E'},  {3, 'A'},  {4, '1'},  {5, '4'},
                   {6, '7'},  {7, '*'},  {8, '2'},  {9, '5'},  {10, '8'}, {11, '0'},
                   {12, '3'}, {13, '6'}, {14, '9'}, {15, '#'}, {23, 'M'}, {31, 'K'}};
    for (const auto& [bit, character] : keyBits) {
        const char* const found = std::strchr(CHfpK4keyBuf::keyCharacters, character);
        const int code = static_cast<int>(found - CHfpK4keyBuf::keyCharacters);
        CHfpK4keyBuf keys;
        keys.analyze(allUp);
        EXPECT_EQ(keys.analyze(allUp ^ 1U << bit), 1) << character;
        EXPECT_EQ(keys.analyze(allUp), 2) << character;
        EXPECT_EQ(drain(keys), (std::vector{code, code + 0x100})) << character;
    }
    EXPECT_STREQ(CHfpK4keyBuf::keyCharacters, "0123456789*#LRKEACDMhH");
}

TEST(Keypad, EventsOfOneWordComeInBitOrderAfterTheSteps) {
    CHfpK4keyBuf keys;
    EXPECT_EQ(keys.analyze(positions(9, 100) ^ (1U << 6 | 1U << 23)), 2) << "no steps at first";
    EXPECT_EQ(drain(keys), (std::vector{7, 19}));
    keys.analyze(positions(4, 4));
    drain(keys);
    EXPECT_EQ(keys.analyze(positions(3, 6) ^ (0x0000FFFF | 1U << 23 | 1U << 31)), 19)
        << "the ring is full";
    EXPECT_EQ(drain(keys),
              (std::vector{12, 21, 21, 17, 18, 15, 16, 1, 4, 7, 10, 2, 5, 8, 0, 3, 6, 9, 11}));
    keys.analyze(positions(3, 6));
    EXPECT_EQ(keys.getkey(), 0x111) << "releases follow the same order";
}

TEST(Keypad, InvalidWordsAreOnlyCounted) {
    CHfpK4keyBuf keys;
    keys.analyze(positions(0, 0) ^ 1U << 4);
    EXPECT_EQ(keys.analyze(1U << 30), 1) << "the queue stays as it is";
    EXPECT_EQ(keys.analyze(0xFFFFFFFF), 1);
    EXPECT_EQ(keys.invalidWords(), 2);
    EXPECT_EQ(keys.analyze(positions(1, 0) ^ 1U << 4), 2) << "steps count from the last valid word";
    EXPECT_EQ(drain(keys), (std::vector{1, 13}));
}

TEST(Keypad, AFullRingLosesNewEventsUntilThereIsRoom) {
    CHfpK4keyBuf keys;
    for (int i = 0; i < 30; ++i)
        keys.analyze(i % 2 == 0 ? allUp ^ 1U << 11 : allUp);
    EXPECT_EQ(keys.analyze(allUp), 19);
    EXPECT_EQ(keys.getkey(), 0);
    EXPECT_EQ(keys.analyze(allUp ^ 1U << 4), 19) << "one event found room";
    EXPECT_EQ(keys.analyze(allUp ^ (1U << 4 | 1U << 8)), 19) << "the next one did not";
    const std::vector<int> events = drain(keys);
    ASSERT_EQ(events.size(), 19U);
    EXPECT_EQ(events.back(), 1);
    EXPECT_EQ(keys.getkey(), -1);
}

TEST(Keypad, GetallStopsAtTheFirstOtherEvent) {
    CHfpK4keyBuf keys;
    EXPECT_EQ(keys.getall(13), 0);
    keys.analyze(positions(0, 0));
    keys.analyze(positions(3, 0));
    keys.analyze(positions(3, 0) ^ 1U << 11);
    keys.analyze(positions(4, 0) ^ 1U << 11);
    EXPECT_EQ(keys.getall(12), 0);
    EXPECT_EQ(keys.getall(13), 3);
    EXPECT_EQ(keys.getall(13), 0);
    EXPECT_EQ(drain(keys), (std::vector{0, 13}));
}
