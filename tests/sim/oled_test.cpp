// Both OLED controllers against their data sheets: each command with its values, and what it
// does to the glass. Byte streams and pictures are worked out by hand from the sheets.
#include "fake_surroundings.h"
#include "sim/models/panel/panel.h"

#include <bit>
#include <gtest/gtest.h>
#include <random>

namespace {

using namespace k4sim;
using Bytes = std::vector<std::uint8_t>;

// The values of a command's parameter: from `first` to `last` in steps, without the bits that
// must be 0.
struct Parameter {
    std::uint8_t code, index;
    unsigned first, last, reset, step = 1, zeros = 0;

    bool takes(unsigned value) const {
        return first <= value && value <= last && (value - first) % step == 0 &&
               (value & zeros) == 0;
    }
};

// What is seen after the commands: of what was drawn the pixels whose x and y differ in these
// bits, with their grey masked and flipped; lit are only the lines from `first` to `last`, and
// row `first_row` stands in line 0.
struct Look {
    std::vector<Bytes> commands;
    unsigned x_bits = 0, y_bits = 0, mask = 15, flip = 0, first = 0, last = 63, first_row = 0;
};

// Bytes, those with D/C = 1 marked.
constexpr unsigned dc = 0x100;
constexpr unsigned operator""_d(unsigned long long byte) { return dc | byte; }
using Stream = std::vector<unsigned>;

// What comes of a stream: the contrast, and the first two pixels.
struct Case {
    Stream stream;
    unsigned errors, contrast, pixels;
};

struct Sheet {
    const char* name;
    std::uint8_t panel_type;
    bool parameters_are_data; // and pixels follow 5C
    std::vector<Parameter> parameters;
    std::vector<Bytes> start;               // shows the RAM upright
    std::uint8_t first_column, last_column; // of the glass
    unsigned linear_15, least_15, most_15;  // pulse widths of grey 15
    bool equal_greys;
    std::vector<Look> looks;
    std::vector<Case> cases;
};

const Sheet ssd1362{
    .name = "Ssd1362",
    .panel_type = 0x3C,
    .parameters_are_data = false,
    .parameters = {{0x15, 0, 0x00, 0x7F, 0x00}, {0x15, 1, 0x00, 0x7F, 0x7F},
                   {0x23, 0, 0x00, 0x3F, 0x00}, {0x75, 0, 0x00, 0x3F, 0x00},
                   {0x75, 1, 0x00, 0x3F, 0x3F}, {0x81, 0, 0x01, 0xFF, 0x7F},
                   {0xA1, 0, 0x00, 0x3F, 0x00}, {0xA0, 0, 0x00, 0xFF, 0x40, 1, 0x28},
                   {0xA2, 0, 0x00, 0x3F, 0x00}, {0xA3, 0, 0x00, 0x3F, 0x00},
                   {0xA3, 1, 0x00, 0x40, 0x40}, {0xA8, 0, 0x03, 0x3F, 0x3F},
                   {0xAB, 0, 0x00, 0x01, 0x01}, {0xAD, 0, 0x8E, 0x9E, 0x8E, 0x10},
                   {0xB1, 0, 0x00, 0xFF, 0x82}, {0xB3, 0, 0x00, 0xFF, 0xA1},
                   {0xB5, 0, 0x00, 0x0F, 0x0A}, {0xB6, 0, 0x01, 0x0F, 0x04},
                   {0xBC, 0, 0x00, 0x1F, 0x04}, {0xBD, 0, 0x00, 0x01, 0x00},
                   {0xBE, 0, 0x00, 0x07, 0x05}, {0xFD, 0, 0x12, 0x16, 0x12, 0x04}},
    .start = {{0xA0, 0xC3}, {0xAF}},
    .first_column = 0x00,
    .last_column = 0x7F,
    .linear_15 = 180,
    .least_15 = 141,
    .most_15 = 255,
    .equal_greys = false,
    .looks = {{.commands = {{0xA6}}, .mask = 0},
              {.commands = {{0xA7}}, .flip = 15},
              {.commands = {{0xA0, 0xC2}}, .x_bits = 0xFE}, // columns of two pixels mirrored
              {.commands = {{0xA0, 0xC1}}, .x_bits = 1},
              {.commands = {{0xA0, 0x52}}, .x_bits = 0xFF, .y_bits = 63},
              {.commands = {{0xA1, 0x0A}}, .first_row = 10},
              {.commands = {{0xA2, 0x05}}, .first_row = 5},
              {.commands = {{0xA8, 0x1F}}, .last = 31}},
    .cases = {{{0x81, 0x7B_d, 0x44}, 1, 0x44, 0x7B}, // the chip still waits
              {{0xAB, 0x00, 0x7B_d}, 1, 0x7F, 0x00},
              {{0xFD, 0x16, 0xE3, 0x44_d, 0xFD, 0x12, 0x81, 0x01, 0x7B_d}, 0, 0x01, 0x7B},
              {{0x15, 0x06, 0x05, 0x75, 0x01, 0x00, 0x7B_d}, 2, 0x7F, 0x7B},
              // Along the row, down the column, and back where the window ends.
              {{0x15, 0, 1, 0x11_d, 0x22_d, 0x15, 0, 1, 0x33_d}, 0, 0x7F, 0x11},
              {{0xA0, 0xC7, 0x75, 0, 1, 0x11_d, 0x22_d, 0x75, 0, 1, 0x33_d}, 0, 0x7F, 0x11},
              {{0x15, 0, 0, 0x75, 0, 1, 0x11_d, 0x22_d, 0x33_d}, 0, 0x7F, 0x33}},
};

const Sheet ssd1322{
    .name = "Ssd1322",
    .panel_type = 0x3D,
    .parameters_are_data = true,
    .parameters = {{0x15, 0, 0x00, 0x77, 0x00},       {0x15, 1, 0x00, 0x77, 0x77},
                   {0x75, 0, 0x00, 0x7F, 0x00},       {0x75, 1, 0x00, 0x7F, 0x7F},
                   {0xA1, 0, 0x00, 0x7F, 0x00},       {0xA0, 0, 0x00, 0x37, 0x00, 1, 0xC8},
                   {0xA2, 0, 0x00, 0x7F, 0x00},       {0xA0, 1, 0x01, 0x11, 0x01, 0x10},
                   {0xA8, 0, 0x00, 0x7F, 0x00},       {0xA8, 1, 0x00, 0x7F, 0x7F},
                   {0xAB, 0, 0x00, 0x01, 0x01},       {0xB1, 0, 0x00, 0xFF, 0x74},
                   {0xB3, 0, 0x00, 0xFF, 0x50},       {0xB4, 0, 0xA0, 0xA2, 0xA2, 0x02},
                   {0xB5, 0, 0x00, 0x0F, 0x0A},       {0xB4, 1, 0xB5, 0xFD, 0xB5, 0x48},
                   {0xB6, 0, 0x00, 0x0F, 0x08},       {0xBB, 0, 0x00, 0x1F, 0x17},
                   {0xBE, 0, 0x00, 0x07, 0x04},       {0xC1, 0, 0x00, 0xFF, 0x7F},
                   {0xC7, 0, 0x00, 0x0F, 0x0F},       {0xCA, 0, 0x0F, 0x7F, 0x7F},
                   {0xD1, 0, 0x82, 0xA2, 0xA2, 0x20}, {0xD1, 1, 0x20, 0x20, 0x20},
                   {0xFD, 0, 0x12, 0x16, 0x12, 0x04}},
    .start = {{0xCA, 0x3F}, {0xA0, 0x14, 0x11}, {0xAF}},
    .first_column = 0x1C,
    .last_column = 0x5B,
    .linear_15 = 112,
    .least_15 = 14,
    .most_15 = 180,
    .equal_greys = true,
    .looks = {{.commands = {{0xA4}}, .mask = 0},
              {.commands = {{0xA7}}, .flip = 15},
              {.commands = {{0xA0, 0x10, 0x11}}, .x_bits = 3}, // the four of a column
              {.commands = {{0xA0, 0x02, 0x11}}, .x_bits = 0xFC, .y_bits = 63},
              {.commands = {{0xA8, 0x0A, 0x13}}, .first = 10, .last = 19},
              {.commands = {{0xA8, 0x0A, 0x13}, {0xA9}}},
              {.commands = {{0xA8, 0x00, 0x38}, {0xA1, 0x07}}, .last = 56, .first_row = 7},
              {.commands = {{0xA2, 0x05}}, .first_row = 59},
              {.commands = {{0xCA, 0x2F}}, .first = 16, .first_row = 48}, // the last COM is on top
              // Other wirings than the glass's leave it dark.
              {.commands = {{0xA0, 0x34, 0x11}}, .mask = 0},
              {.commands = {{0xA0, 0x14, 0x01}}, .mask = 0},
              {.commands = {{0xCA, 0x40}}, .mask = 0}},
    .cases =
        {{{0x5C, 0xA9, 0x7B_d}, 1, 0x7F, 0x00},
         {{0xC1, 0xC1, 0x05_d}, 1, 0x05, 0x00},
         {{0xAB, 0x00_d, 0x5C, 0x7B_d}, 1, 0x7F, 0x00},
         {{0xFD, 0x16_d, 0xE3, 0x5C, 0x44_d, 0xFD, 0x12_d, 0xC1, 0x01_d}, 0, 0x01, 0x00},
         {{0x15, 0x06_d, 0x05_d, 0xA8, 0x01_d, 0x00_d}, 2, 0x7F, 0x00},
         {{0x15, 0x1C_d, 0x1C_d, 0x5C, 0x11_d, 0x22_d, 0x33_d}, 0, 0x7F, 0x11},
         {{0x75, 0_d, 0_d, 0x15, 0x1C_d, 0x1C_d, 0x5C, 0x11_d, 0x22_d, 0x33_d}, 0, 0x7F, 0x33},
         {{0xA0, 0x15_d, 0x11_d, 0x75, 0_d, 0_d, 0x5C, 0x11_d, 0x22_d, 0x33_d}, 0, 0x7F, 0x11}},
};

class OledTest : public testing::TestWithParam<const Sheet*> {
protected:
    void send(const Stream& stream) {
        for (const unsigned byte : stream)
            (byte & dc) != 0 ? oled->data(byte & 0xFF) : oled->command(byte & 0xFF);
    }
    void send(const Bytes& command) {
        Stream stream(command.begin(), command.end());
        for (std::size_t i = 1; i < stream.size(); ++i)
            if (sheet.parameters_are_data) stream[i] |= dc;
        send(stream);
    }
    // In reading order, the high nibble first.
    void start(const Picture& picture) {
        oled->reset();
        for (const Bytes& command : sheet.start)
            send(command);
        send(Bytes{0x15, sheet.first_column, sheet.last_column});
        send(Bytes{0x75, 0, 63});
        if (sheet.parameters_are_data) send(Bytes{0x5C});
        for (std::size_t i = 0; i < picture.size(); i += 2)
            oled->data(static_cast<std::uint8_t>(picture[i] << 4 | picture[i + 1]));
    }
    // Since the last call.
    unsigned errors() {
        const unsigned before = std::exchange(seen_errors_, oled->protocol_errors());
        return seen_errors_ - before;
    }

    const Sheet& sheet = *GetParam();
    FakeSurroundings surroundings;
    Panel panel{sheet.panel_type, 9, surroundings};
    Oled* const oled = &panel.oled();

private:
    unsigned seen_errors_ = 0;
};

INSTANTIATE_TEST_SUITE_P(Sheets, OledTest, testing::Values(&ssd1362, &ssd1322),
                         [](const auto& sheet) { return sheet.param->name; });

TEST_P(OledTest, ParametersTakeTheValuesOfTheSheet) {
    for (const Parameter& parameter : sheet.parameters) {
        const auto& [code, index, first, last, reset, step, zeros] = parameter;
        oled->reset();
        EXPECT_EQ(oled->peek_parameter(code, index), reset) << unsigned{code};
        Bytes command{code};
        for (const Parameter& one : sheet.parameters) // that of index 0 comes first
            if (one.code == code) command.push_back(static_cast<std::uint8_t>(one.reset));
        unsigned held = reset;
        for (unsigned value = 0; value < 256; ++value) {
            command[1U + index] = static_cast<std::uint8_t>(value);
            if (parameter.takes(value)) held = value;
            send(command);
            ASSERT_EQ(errors(), !parameter.takes(value)) << unsigned{code} << " " << value;
            ASSERT_EQ(oled->peek_parameter(code, index), held) << unsigned{code};
        }
    }
}

// The widths 1, `second`, 3, 4 ... 14, `last`.
TEST_P(OledTest, AGreyTableRisesWithinItsLimits) {
    Bytes command{0xB8, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15};
    for (const std::uint8_t second : {1, 2, 4})
        for (unsigned last = 0; last < 256; ++last) {
            command[2] = second;
            command[15] = static_cast<std::uint8_t>(last);
            const bool valid = (sheet.equal_greys ? second < 4 : second == 2) &&
                               sheet.least_15 <= last && last <= sheet.most_15;
            send(Bytes{0xB9});
            send(command);
            EXPECT_EQ(errors(), !valid) << unsigned{second} << " " << last;
            if (sheet.parameters_are_data) {
                EXPECT_EQ(oled->peek_pulse_width(15), sheet.linear_15);
                if (valid) send(Bytes{0x00}); // makes it count
            }
            EXPECT_EQ(oled->peek_pulse_width(15), valid ? last : sheet.linear_15);
        }
}

TEST_P(OledTest, TheGlassShowsWhatTheCommandsMakeOfTheRam) {
    std::mt19937 random(7);
    Picture drawn;
    std::ranges::generate(drawn, [&] { return random() % 16; });
    for (const Look& look : sheet.looks) {
        start(drawn);
        oled->command(0xAE);
        for (const Bytes& command : look.commands)
            send(command);
        EXPECT_TRUE(oled->picture() == Picture{}) << "asleep";
        oled->command(0xAF);
        Picture expected{};
        for (unsigned i = look.first * glass_width; i < (look.last + 1) * glass_width; ++i) {
            const unsigned row = (i / glass_width + look.first_row) % glass_height ^ look.y_bits;
            const unsigned grey = drawn[row * glass_width + (i % glass_width ^ look.x_bits)];
            expected[i] = static_cast<std::uint8_t>((grey & look.mask) ^ look.flip);
        }
        EXPECT_TRUE(oled->picture() == expected) << "look " << &look - &sheet.looks[0];
    }
}

TEST_P(OledTest, BytesAgainstTheRulesAreCountedAndIgnored) {
    for (const Case& one : sheet.cases) {
        start(Picture{});
        send(one.stream);
        SCOPED_TRACE(testing::PrintToString(one.stream));
        EXPECT_EQ(errors(), one.errors);
        EXPECT_EQ(oled->peek_contrast(), one.contrast);
        EXPECT_EQ(oled->picture()[0] << 4 | oled->picture()[1], one.pixels);
    }
    const auto is_error = [](auto& text) { return text.starts_with("oled protocol-error why="); };
    EXPECT_EQ(std::ranges::count_if(surroundings.events, is_error),
              std::bit_width(oled->protocol_errors())); // they become fewer and fewer
}

} // namespace
