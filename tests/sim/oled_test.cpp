// Both OLED controllers against their data sheets, from which the byte streams are worked out by
// hand: each command with its values, and what it does to the first pixels of the glass.
#include "fake_surroundings.h"
#include "sim/models/panel/panel.h"

#include <gtest/gtest.h>

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

// Bytes, those with D/C = 1 marked.
constexpr unsigned dc = 0x100;
constexpr unsigned operator""_d(unsigned long long byte) { return dc | byte; }
using Stream = std::vector<unsigned>;

// What comes of a stream on a black glass: the first two pixels, errors, the contrast.
struct Case {
    Stream stream;
    unsigned pixels, errors = 0, contrast = 0x7F;
};

struct Sheet {
    const char* name;
    std::uint8_t panel_type;
    bool parameters_are_data; // and pixels follow 5C
    std::vector<Parameter> parameters;
    std::vector<Bytes> start; // shows the RAM upright, and writes to it
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
                   {0xA2, 0, 0x00, 0x3F, 0x00}, {0xA8, 0, 0x03, 0x3F, 0x3F},
                   {0xAB, 0, 0x00, 0x01, 0x01}, {0xAD, 0, 0x8E, 0x9E, 0x8E, 0x10},
                   {0xB1, 0, 0x00, 0xFF, 0x82}, {0xB3, 0, 0x00, 0xFF, 0xA1},
                   {0xB5, 0, 0x00, 0x0F, 0x0A}, {0xB6, 0, 0x01, 0x0F, 0x04},
                   {0xBC, 0, 0x00, 0x1F, 0x04}, {0xBD, 0, 0x00, 0x01, 0x00},
                   {0xBE, 0, 0x00, 0x07, 0x05}, {0xFD, 0, 0x12, 0x16, 0x12, 0x04}},
    .start = {{0xA0, 0xC3}, {0xAF}, {0x15, 0x00, 0x7F}, {0x75, 0x00, 0x3F}},
    .cases = {{{0x81, 0x7B_d, 0x44}, 0x7B, 1, 0x44}, // the chip still waits
              {{0xAB, 0x00, 0x7B_d}, 0x00, 1},
              {{0xFD, 0x16, 0xE3, 0x44_d, 0xFD, 0x12, 0x81, 0x01, 0x7B_d}, 0x7B, 0, 0x01},
              {{0x15, 0x06, 0x05, 0x75, 0x01, 0x00, 0x7B_d}, 0x7B, 2},
              // Along the row, down the column, and back where the window ends.
              {{0xA0, 0xC7, 0x75, 0, 1, 0x11_d, 0x22_d, 0x75, 0, 1, 0x33_d}, 0x11},
              {{0x15, 0, 0, 0x75, 0, 1, 0x11_d, 0x22_d, 0x33_d}, 0x33},
              {{0x7B_d, 0xAE}, 0x00},
              {{0x7B_d, 0xA7}, 0x84},
              // Where columns, nibbles and rows come to lie.
              {{0xA0, 0xC2, 0x15, 0x7F, 0x7F, 0x7B_d}, 0x7B},
              {{0xA0, 0xC1, 0x7B_d}, 0xB7},
              {{0xA0, 0x52, 0x15, 0x7F, 0x7F, 0x75, 0x3F, 0x3F, 0x7B_d}, 0xB7},
              {{0xA1, 0x0A, 0x75, 0x0A, 0x0A, 0x7B_d}, 0x7B},
              {{0xA2, 0x05, 0x75, 0x05, 0x05, 0x7B_d}, 0x7B}},
};

const Sheet ssd1322{
    .name = "Ssd1322",
    .panel_type = 0x3D,
    .parameters_are_data = true,
    .parameters = {{0x15, 0, 0x00, 0x77, 0x00}, {0x15, 1, 0x00, 0x77, 0x77},
                   {0x75, 0, 0x00, 0x7F, 0x00}, {0x75, 1, 0x00, 0x7F, 0x7F},
                   {0xA1, 0, 0x00, 0x7F, 0x00}, {0xA0, 0, 0x00, 0x37, 0x00, 1, 0xC8},
                   {0xA2, 0, 0x00, 0x7F, 0x00}, {0xA0, 1, 0x01, 0x11, 0x01, 0x10},
                   {0xAB, 0, 0x00, 0x01, 0x01}, {0xB4, 0, 0xA0, 0xA2, 0xA2, 0x02},
                   {0xB5, 0, 0x00, 0x0F, 0x0A}, {0xB4, 1, 0xB5, 0xFD, 0xB5, 0x48},
                   {0xB6, 0, 0x00, 0x0F, 0x08}, {0xBB, 0, 0x00, 0x1F, 0x17},
                   {0xBE, 0, 0x00, 0x07, 0x04}, {0xC7, 0, 0x00, 0x0F, 0x0F},
                   {0xCA, 0, 0x0F, 0x7F, 0x7F}, {0xD1, 0, 0x82, 0xA2, 0xA2, 0x20},
                   {0xD1, 1, 0x20, 0x20, 0x20}, {0xFD, 0, 0x12, 0x16, 0x12, 0x04}},
    .start =
        {{0xCA, 0x3F}, {0xA0, 0x14, 0x11}, {0xAF}, {0x15, 0x1C, 0x5B}, {0x75, 0x00, 0x3F}, {0x5C}},
    .cases = {{{0x5C, 0xA9, 0x7B_d}, 0x00, 1},
              {{0xC1, 0xC1, 0x05_d}, 0x00, 1, 0x05},
              {{0xAB, 0x00_d, 0x5C, 0x7B_d}, 0x00, 1},
              {{0xFD, 0x16_d, 0xE3, 0x5C, 0x44_d, 0xFD, 0x12_d, 0xC1, 0x01_d}, 0x00, 0, 0x01},
              {{0x15, 0x06_d, 0x05_d, 0xA8, 0x01_d, 0x00_d}, 0x00, 2},
              {{0x15, 0x1C_d, 0x1C_d, 0x5C, 0x11_d, 0x22_d, 0x33_d}, 0x11},
              {{0x75, 0_d, 0_d, 0x15, 0x1C_d, 0x1C_d, 0x5C, 0x11_d, 0x22_d, 0x33_d}, 0x33},
              {{0xA0, 0x15_d, 0x11_d, 0x75, 0_d, 0_d, 0x5C, 0x11_d, 0x22_d, 0x33_d}, 0x11},
              // Where columns, the four pixels of one, and rows come to lie.
              {{0xA0, 0x10_d, 0x11_d, 0x5C, 0x12_d, 0x34_d}, 0x43},
              {{0xA0, 0x02_d, 0x11_d, 0x15, 91_d, 91_d, 0x75, 63_d, 63_d, 0x5C, 0x12_d}, 0x12},
              {{0xA1, 0x07_d, 0x75, 7_d, 7_d, 0x5C, 0x7B_d}, 0x7B},
              {{0xA2, 0x05_d, 0x75, 59_d, 59_d, 0x5C, 0x7B_d}, 0x7B},
              {{0x7B_d, 0xCA, 0x2F_d}, 0x00}, // the last COM is on top
              {{0x7B_d, 0xA8, 0x10_d, 0x20_d}, 0x00},
              {{0x7B_d, 0xA8, 0x10_d, 0x20_d, 0xA9}, 0x7B},
              // Other wirings than the glass's leave it dark.
              {{0x7B_d, 0xA0, 0x14_d, 0x01_d}, 0x00},
              {{0x7B_d, 0xCA, 0x40_d}, 0x00}},
};

class OledTest : public testing::TestWithParam<const Sheet*> {
protected:
    void send(const Stream& stream) {
        for (const unsigned byte : stream)
            (byte & dc) != 0 ? oled->data(byte & 0xFF) : oled->command(byte & 0xFF);
    }
    void send(const Bytes& command) {
        oled->command(command[0]);
        for (std::size_t i = 1; i < command.size(); ++i)
            sheet.parameters_are_data ? oled->data(command[i]) : oled->command(command[i]);
    }
    void start_black() {
        oled->reset();
        for (const Bytes& command : sheet.start)
            send(command);
        for (unsigned i = 0; i < glass_width * glass_height / 2; ++i)
            oled->data(0);
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

TEST_P(OledTest, BytesDoWhatTheSheetSaysOrAreCountedAndIgnored) {
    for (const Case& one : sheet.cases) {
        start_black();
        SCOPED_TRACE(testing::PrintToString(one.stream));
        for (const unsigned byte : one.stream) { // whoever watches is told of each change
            const auto [picture, version] = std::pair(oled->picture(), oled->version());
            send(Stream{byte});
            EXPECT_TRUE(oled->picture() == picture || oled->version() > version) << byte;
        }
        EXPECT_EQ(errors(), one.errors);
        EXPECT_EQ(oled->peek_contrast(), one.contrast);
        EXPECT_EQ(oled->picture()[0] << 4 | oled->picture()[1], one.pixels);
    }
}

} // namespace
