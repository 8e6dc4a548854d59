// The byte streams here are worked out by hand from the command table of the chip.
#include "fake_surroundings.h"
#include "oled_pictures.h"
#include "sim/models/panel/ssd1322.h"

#include <gtest/gtest.h>

using k4sim::glass_width;
using k4sim::Picture;

namespace {

using Bytes = std::vector<std::uint8_t>;

// A command byte with its parameters.
struct Command {
    std::uint8_t code;
    Bytes parameters{};
};

class Ssd1322Test : public testing::Test {
protected:
    void send(const std::vector<Command>& commands) {
        for (const auto& [code, parameters] : commands) {
            oled.command(code);
            for (const std::uint8_t parameter : parameters)
                oled.data(parameter);
        }
    }
    void start(std::uint8_t remap = 0x14) {
        // clang-format off
        send({{0xFD, {0x12}}, {0xAE}, {0xB3, {0x91}}, {0xCA, {0x3F}}, {0xA2, {0x00}},
              {0xA1, {0x00}}, {0xA0, {remap, 0x11}}, {0xB5, {0x00}}, {0xAB, {0x01}},
              {0xB4, {0xA0, 0xFD}}, {0xC1, {0x9F}}, {0xC7, {0x0F}}, {0xB9}, {0xB1, {0xE2}},
              {0xD1, {0x82, 0x20}}, {0xBB, {0x1F}}, {0xB6, {0x08}}, {0xBE, {0x07}}, {0xA6},
              {0xA9}, {0x15, {0x1C, 0x5B}}, {0x75, {0x00, 0x3F}}, {0x5C, Bytes(8192, 0x00)},
              {0xAF}});
        // clang-format on
    }
    // Pixels in reading order, the high nibble first.
    void send_picture(const Picture& picture) {
        Bytes bytes;
        for (std::size_t i = 0; i < picture.size(); i += 2)
            bytes.push_back(static_cast<std::uint8_t>(picture[i] * 16 + picture[i + 1]));
        send({{0x15, {0x1C, 0x5B}}, {0x75, {0x00, 0x3F}}, {0x5C, bytes}});
    }

    FakeSurroundings surroundings;
    k4sim::Ssd1322 oled{surroundings};
};

TEST_F(Ssd1322Test, TheRemapByteDecidesHowThePictureLiesOnTheGlass) {
    const Picture picture = random_picture(13);
    Picture reversed = picture; // the four pixels of a column
    for (std::size_t i = 0; i < picture.size(); i += 4)
        std::reverse(reversed.begin() + i, reversed.begin() + i + 4);
    const struct {
        std::uint8_t remap;
        Picture seen;
    } cases[] = {
        {0x14, picture},
        {0x06, turned(picture)},
        {0x04, upside_down(picture)},
        {0x16, turned(upside_down(picture))},
        {0x10, reversed},
        {0x02, turned(reversed)},
        {0x34, Picture{}}, // COM pins not as the glass is wired
    };
    for (const auto& [remap, seen] : cases) {
        start(remap);
        send_picture(picture);
        EXPECT_EQ(oled.picture(), seen) << "remap " << std::hex << int{remap};
    }
}

TEST_F(Ssd1322Test, TheGlassIsDarkWithoutDualComModeAnd64Rows) {
    start();
    send_picture(random_picture(14));
    send({{0xA0, {0x14, 0x01}}});
    EXPECT_EQ(oled.picture(), Picture{});
    send({{0xA0, {0x14, 0x11}}, {0xCA, {0x7F}}});
    EXPECT_EQ(oled.picture(), Picture{});
}

TEST_F(Ssd1322Test, ThePointerWrapsWithinItsWindow) {
    start();
    const Bytes five_columns = {0x11, 0x11, 0x22, 0x22, 0x33, 0x33, 0x44, 0x44, 0x55, 0x55};
    send({{0x15, {0x1C, 0x1D}}, {0x75, {0x04, 0x05}}, {0x5C, five_columns}});
    const Picture along = oled.picture();
    EXPECT_EQ(pixel(along, 0, 4), 5); // the fifth column is back at the start
    EXPECT_EQ(pixel(along, 4, 4), 2);
    EXPECT_EQ(pixel(along, 0, 5), 3);
    EXPECT_EQ(pixel(along, 7, 5), 4);

    send({{0xA0, {0x15, 0x11}}, {0x15, {0x1C, 0x1D}}, {0x75, {0x04, 0x05}}, {0x5C, five_columns}});
    const Picture down = oled.picture();
    EXPECT_EQ(pixel(down, 3, 5), 2);
    EXPECT_EQ(pixel(down, 4, 4), 3);
}

TEST_F(Ssd1322Test, ItsDisplayModesAreNotThoseOfTheOtherChip) {
    start();
    const Picture picture = random_picture(15);
    send_picture(picture);
    expect_modes(oled, {{0xA4, {}}, {0xA5, lit()}, {0xA7, inverse(picture)}, {0xA6, picture}});
}

TEST_F(Ssd1322Test, PartialDisplayAndStartLineChooseTheRows) {
    start();
    const Picture picture = random_picture(16);
    send_picture(picture);
    send({{0xA8, {0x0A, 0x13}}});
    expect_rows(oled.picture(), picture, 10, 19, 0);
    send({{0xA8, {0x00, 0x38}}, {0xA1, {0x07}}}); // rows from 64 on hold noise
    expect_rows(oled.picture(), picture, 0, 56, 7);
    send({{0xA9}, {0xA1, {0x00}}});
    EXPECT_EQ(oled.picture(), picture);
}

TEST_F(Ssd1322Test, BytesAgainstTheRulesAreCountedAndIgnored) {
    const struct {
        const char* what;
        std::vector<Command> commands;
        unsigned errors;
    } cases[] = {
        {"contrast command of the other chip", {{0x81}, {0x9F}}, 2},
        {"pixels without 5C", {{0x75, {0x00, 0x3F, 0xFF}}}, 1},
        {"parameters as commands", {{0x15}, {0x1C}, {0x5B}}, 3},
        {"column beyond the last", {{0x15, {0x00, 0x78}}}, 1},
        {"fixed bits of the remap bytes", {{0xA0, {0x1C, 0x11}}, {0xA0, {0x14, 0x10}}}, 2},
        {"enhancement bytes",
         {{0xB4, {0xA1, 0xFD}}, {0xB4, {0xA0, 0xFC}}, {0xD1, {0x82, 0x21}}},
         3},
        {"grey wider than 180", {{0xB8, {0, 0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 181}}}, 1},
        {"lock byte", {{0xFD, {0x06}}}, 1},
    };
    for (const auto& [what, commands, errors] : cases) {
        start();
        const std::uint32_t before = oled.protocol_errors();
        send(commands);
        EXPECT_EQ(oled.protocol_errors() - before, errors) << what;
        EXPECT_EQ(oled.picture(), Picture{}) << what;
        EXPECT_EQ(oled.peek_parameter(0xA0), 0x14) << what;
        EXPECT_EQ(oled.peek_contrast(), 0x9F) << what;
    }
}

TEST_F(Ssd1322Test, AGreyTableCountsFromCommand00On) {
    start();
    EXPECT_EQ(oled.peek_pulse_width(1), 0u);
    EXPECT_EQ(oled.peek_pulse_width(15), 112u);
    send({{0xB8, {0, 2, 4, 8, 12, 16, 20, 24, 32, 40, 60, 80, 100, 140, 180}}});
    EXPECT_EQ(oled.peek_pulse_width(15), 112u);
    send({{0x00}});
    EXPECT_EQ(oled.peek_pulse_width(2), 2u);
    EXPECT_EQ(oled.peek_pulse_width(15), 180u);
    EXPECT_EQ(oled.protocol_errors(), 0u);
}

} // namespace
