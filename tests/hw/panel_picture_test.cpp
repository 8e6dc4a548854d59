// Driver and device joined: what is drawn arrives on the glass, pixel for pixel, over
// every link and on both kinds of OLED.
#include "hw/frontpanel.h"
#include "sim/machine/machine.h"
#include "sim/models/device.h"

#include <gtest/gtest.h>
#include <random>
#include <tuple>

namespace {

constexpr int width = 256;
constexpr int height = 64;

class EveryLink : public testing::TestWithParam<k4sim::Board> {
protected:
    void SetUp() override {
        k4sim::Setup setup;
        setup.board = GetParam();
        k4sim::machine().reset(setup);
        ASSERT_EQ(panel.init(0), 0);
    }

    void expectArrived(const char* what) {
        panel.writer->commitFrom(panel.display, true);
        const k4sim::Picture picture = k4sim::machine().device().oled()->picture();
        for (int y = 0; y < height; ++y)
            for (int x = 0; x < width; ++x)
                ASSERT_EQ(int{picture[static_cast<std::size_t>(y * width + x)]},
                          static_cast<int>(panel.display.grey(x, y)))
                    << what << " at " << x << ", " << y;
        EXPECT_EQ(k4sim::machine().device().oled()->protocol_errors(), 0U);
        EXPECT_EQ(k4sim::machine().device().panel()->protocol_errors(), 0U);
    }

    std::mt19937 random{1};
    CHfrontpanelK4 panel;
};

TEST_P(EveryLink, RandomPictureArrives) {
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x)
            panel.display.put(x, y, random() % 16);
    expectArrived("picture");
}

TEST_P(EveryLink, RandomChangesArrive) {
    expectArrived("empty picture");
    for (int change = 0; change < 30; ++change) {
        const auto x = static_cast<int>(random() % width);
        const auto y = static_cast<int>(random() % height);
        const auto w = static_cast<int>(1 + random() % 9);
        panel.display.fill({{x, y}, {w, static_cast<int>(1 + random() % 3)}}, random() % 16);
        expectArrived("change");
    }
}

TEST_P(EveryLink, BlinkPatternArrives) {
    panel.cpld->blink(0xA5);
    EXPECT_EQ(k4sim::machine().device().panel()->peek_led(), 0xA5);
}

// What the program that ran before may have left behind.
TEST_P(EveryLink, InitEndsShiftsPartialPicturesInversionAndTheLock) {
    CHfplinkK4& link = *panel.fplink;
    using Bytes = std::vector<unsigned char>;
    const bool isSsd1362 = link.panelType == 0x3C;
    const std::pair<unsigned char, Bytes> leftovers[] = {
        {0xA1, {5}},                                       // start line
        {0xA2, {3}},                                       // display offset
        {0xA7, {}},                                        // inverse
        {0xA8, isSsd1362 ? Bytes{0x0F} : Bytes{0x10, 32}}, // few rows
        {0xAB, {0}},                                       // core supply off
        {0xFD, {0x16}},                                    // lock
    };
    for (const auto& [command, parameters] : leftovers) {
        link.put_cmd(command);
        for (const unsigned char parameter : parameters)
            isSsd1362 ? link.put_cmd(parameter) : link.put_data(parameter);
    }
    ASSERT_EQ(panel.init(0), 0);
    panel.display.fill({{5, 1}, {240, 62}}, 9);
    expectArrived("picture");
}

// Key codes by the characters of the panel's own keys, over the real key word.
TEST_P(EveryLink, KeysArrive) {
    EXPECT_EQ(panel.kbdGetkey(), -1);
    const std::string characters = CHfpK4keyBuf::keyCharacters;
    for (const char key : k4sim::key_characters) {
        k4sim::machine().device().keys()->press(key);
        EXPECT_EQ(panel.kbdGetkey(), static_cast<int>(characters.find(key))) << key;
        k4sim::machine().device().keys()->release(key);
        EXPECT_EQ(panel.kbdGetkey(),
                  static_cast<int>(characters.find(key)) + CHfpK4keyBuf::released);
    }
    for (const auto& [encoder, steps, event] :
         {std::tuple{1, 1, 'R'}, {1, -1, 'L'}, {2, 1, 'H'}, {2, -1, 'h'}})
        for (int turn = 0; turn < 70; ++turn) { // past every wrap
            k4sim::machine().device().keys()->turn(encoder, steps);
            EXPECT_EQ(panel.kbdGetkey(), static_cast<int>(characters.find(event)));
        }
}

INSTANTIATE_TEST_SUITE_P(PanelPicture, EveryLink,
                         testing::Values(k4sim::Board::aes, k4sim::Board::plain, k4sim::Board::i2c,
                                         k4sim::Board::engine),
                         [](const auto& case_info) {
                             return std::string(k4sim::board_name(case_info.param));
                         });

} // namespace
