// The byte streams here are worked out by hand from the command table of the chip.
#include "fake_surroundings.h"
#include "oled_pictures.h"
#include "sim/models/panel/ssd1362.h"

#include <gtest/gtest.h>

using k4sim::glass_width;
using k4sim::Oled;
using k4sim::Picture;

namespace {

using Bytes = std::vector<std::uint8_t>;

class Ssd1362Test : public testing::Test {
protected:
    void commands(const Bytes& bytes) {
        for (const std::uint8_t byte : bytes)
            oled.command(byte);
    }
    void data(const Bytes& bytes) {
        for (const std::uint8_t byte : bytes)
            oled.data(byte);
    }
    void start(std::uint8_t remap = 0xC3) {
        commands({0xFD, 0x12, 0xAE, 0x23, 0x00, 0x81, 0x9F, 0xA0, remap, 0xA1, 0x00,
                  0xA2, 0x00, 0xA4, 0xA8, 0x3F, 0xAB, 0x01, 0xAD, 0x8E,  0xB1, 0x22,
                  0xB3, 0xA0, 0xB6, 0x04, 0xB9, 0xBC, 0x10, 0xBD, 0x01,  0xBE, 0x07});
        send(Picture{});
        commands({0xAF});
    }
    // With the even x in the high nibble, as it fits remap C3.
    void send(const Picture& picture) {
        commands({0x15, 0x00, 0x7F, 0x75, 0x00, 0x3F});
        for (std::size_t i = 0; i < picture.size(); i += 2)
            oled.data(static_cast<std::uint8_t>(picture[i] * 16 + picture[i + 1]));
    }

    FakeSurroundings surroundings;
    k4sim::Ssd1362 oled{surroundings};
};

TEST_F(Ssd1362Test, TheRemapByteDecidesHowThePictureLiesOnTheGlass) {
    const Picture picture = random_picture(3);
    Picture exchanged = picture; // the two pixels of a byte
    for (std::size_t i = 0; i < picture.size(); i += 2)
        std::swap(exchanged[i], exchanged[i + 1]);
    const struct {
        std::uint8_t remap;
        Picture seen;
    } cases[] = {
        {0xC3, picture},   {0xD0, turned(picture)},      {0x52, turned(picture)},
        {0x43, exchanged}, {0xD3, upside_down(picture)}, {0xC2, turned(upside_down(exchanged))},
        {0xC1, exchanged},
    };
    for (const auto& [remap, seen] : cases) {
        start(remap);
        send(picture);
        EXPECT_EQ(oled.picture(), seen) << "remap " << std::hex << int{remap};
    }
}

TEST_F(Ssd1362Test, WithoutOddEvenWiringTheTwoHalvesAreInterleaved) {
    start(0x00);
    commands({0x15, 0x00, 0x00, 0x75, 0x00, 0x00});
    data({0x21}); // segments 0 and 1, at the first two pads of the left side
    const Picture picture = oled.picture();
    EXPECT_EQ(pixel(picture, 255, 0), 1);
    EXPECT_EQ(pixel(picture, 253, 0), 2);
}

TEST_F(Ssd1362Test, PowerAndDisplayModeAreIndependent) {
    start();
    const Picture picture = random_picture(4);
    send(picture);
    expect_modes(oled, {{0xA5, lit()}, {0xA6, {}}, {0xA7, inverse(picture)}, {0xA4, picture}});
    commands({0xAE, 0xA5, 0xAF});
    EXPECT_EQ(oled.picture(), lit()) << "a mode set during sleep applies at wake-up";
}

TEST_F(Ssd1362Test, StartLineOffsetAndMultiplexMoveAndCutTheRows) {
    start();
    const Picture picture = random_picture(5);
    send(picture);
    commands({0xA1, 0x0A});
    expect_rows(oled.picture(), picture, 0, 63, 10);
    commands({0xA1, 0x00, 0xA2, 0x05});
    expect_rows(oled.picture(), picture, 0, 63, 5);
    commands({0xA2, 0x00, 0xA8, 0x1F});
    expect_rows(oled.picture(), picture, 0, 31, 0);
}

TEST_F(Ssd1362Test, WhileLockedOnlyUnlockingWorks) {
    start();
    const Picture picture = random_picture(6);
    send(picture);
    commands({0xFD, 0x16, 0xA5, 0xAE, 0x81, 0x01});
    data({0xFF, 0xFF});
    EXPECT_TRUE(oled.peek_locked());
    EXPECT_EQ(oled.picture(), picture);
    EXPECT_EQ(oled.peek_contrast(), 0x9F);
    commands({0xFD, 0x12, 0xA5});
    EXPECT_EQ(oled.peek_mode(), Oled::Mode::all_on);
}

TEST_F(Ssd1362Test, BytesAgainstTheRulesAreCountedAndIgnored) {
    const struct {
        const char* what;
        Bytes bytes;
        unsigned errors;
    } cases[] = {
        {"commands of the other chip", {0x5C, 0xC1, 0xE3}, 3},
        {"contrast 0", {0x81, 0x00}, 1},
        {"column beyond the last", {0x15, 0x00, 0x80}, 1},
        {"window backwards", {0x15, 0x06, 0x05}, 1},
        {"fixed bit of the remap byte", {0xA0, 0xCB}, 1},
        {"lock byte", {0xFD, 0x13}, 1},
        {"grey table that falls", {0xB8, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 13, 150}, 1},
        {"multiplex below 4", {0xA8, 0x02}, 1},
    };
    for (const auto& [what, bytes, errors] : cases) {
        start();
        const std::uint32_t before = oled.protocol_errors();
        commands(bytes);
        EXPECT_EQ(oled.protocol_errors() - before, errors) << what;
        EXPECT_EQ(oled.picture(), Picture{}) << what;
        EXPECT_EQ(oled.peek_contrast(), 0x9F) << what;
        EXPECT_EQ(oled.peek_parameter(0xA0), 0xC3) << what;
        EXPECT_EQ(oled.peek_pulse_width(14), 168u) << what;
    }
}

TEST_F(Ssd1362Test, AParameterSentAsDataBecomesTwoPixels) {
    start();
    commands({0x15, 0x00, 0x7F, 0x75, 0x00, 0x3F, 0x81});
    data({0x7B});
    EXPECT_EQ(oled.protocol_errors(), 1u);
    EXPECT_EQ(pixel(oled.picture(), 0, 0), 0x7);
    EXPECT_EQ(pixel(oled.picture(), 1, 0), 0xB);
    commands({0x44});
    EXPECT_EQ(oled.peek_contrast(), 0x44) << "the chip still waits for the parameter";
}

TEST_F(Ssd1362Test, TheVersionGrowsOnlyWithWhatCanBeSeen) {
    start();
    unsigned calls = 0;
    oled.set_on_change([&calls] { ++calls; });
    std::uint64_t before = oled.version();
    const auto changed = [&] {
        const bool grown = oled.version() != before;
        EXPECT_EQ(grown, calls > 0);
        before = oled.version();
        calls = 0;
        return grown;
    };
    data({0x10});
    EXPECT_TRUE(changed());
    data({0x00}); // was 0 before
    EXPECT_FALSE(changed());
    commands({0x81, 0x10, 0xAF, 0xA4});
    EXPECT_FALSE(changed()) << "contrast, and what was set already";
    commands({0xA5});
    EXPECT_TRUE(changed());
    data({0x77});
    EXPECT_FALSE(changed()) << "the RAM is not seen in all-on mode";
    commands({0xAE});
    EXPECT_TRUE(changed());
    commands({0xA7});
    EXPECT_FALSE(changed()) << "asleep";
}

} // namespace
