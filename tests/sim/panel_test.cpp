#include "fake_surroundings.h"
#include "sim/models/panel.h"

#include <gmock/gmock.h>

using k4sim::Panel;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

class PanelTest : public testing::Test {
protected:
    // One I2C write; how many bytes were acknowledged.
    unsigned write(const std::vector<std::uint8_t>& bytes) {
        unsigned acknowledged = 0;
        if (!panel.begin_write()) return 0;
        for (const std::uint8_t byte : bytes)
            acknowledged += panel.write_byte(byte) ? 1 : 0;
        return acknowledged;
    }
    std::vector<unsigned> read(unsigned length) {
        std::vector<unsigned> bytes;
        if (!panel.begin_read()) return bytes;
        for (unsigned n = 0; n < length; ++n)
            bytes.push_back(panel.read_byte());
        return bytes;
    }

    FakeSurroundings surroundings;
    Panel panel{0x3C, 5, surroundings};
};

TEST_F(PanelTest, hands_commands_and_data_to_its_oled_in_wire_order) {
    EXPECT_EQ(write({0x10, 0xA0, 0xC3}), 3u);
    EXPECT_EQ(write({0x10, 0x15, 0x00, 0x7F, 0x75}), 5u);
    write({0x10, 0x00, 0x3F});
    write({0x10, 0xAF});
    EXPECT_EQ(write({0x20, 0x12, 0x34, 0x56, 0x78}), 5u);
    EXPECT_EQ(panel.oled().protocol_errors(), 0u);
    const k4sim::Picture picture = panel.oled().picture();
    for (unsigned x = 0; x < 8; ++x)
        EXPECT_EQ(picture[x], x + 1);
}

TEST_F(PanelTest, sends_the_key_word_lowest_byte_first) {
    panel.keys().press('M');
    panel.keys().press('1');
    panel.keys().turn(1, -1);
    write({0x40});
    EXPECT_THAT(read(4), ElementsAre(0xEF, 0xFF, 0x80, 0x0F)); // 4-bit counters before version 8
    Panel later(0x3C, 8, surroundings);
    later.keys().turn(1, -1);
    EXPECT_EQ(later.key_word(), 0x3F00FFFFu);
}

TEST_F(PanelTest, refuses_what_it_does_not_know) {
    EXPECT_EQ(write({0x30, 0x01}), 0u);
    EXPECT_EQ(write({0x50, 0x01, 0x02}), 2u);
    EXPECT_EQ(write({0x40, 0x00}), 1u);
    EXPECT_EQ(panel.peek_led(), 0x01);
    EXPECT_EQ(panel.protocol_errors(), 4u);
    panel.reset();
    EXPECT_THAT(read(1), ElementsAre(0xFF)) << "a read without a query before it";
    EXPECT_EQ(panel.protocol_errors(), 5u);
}

TEST_F(PanelTest, acknowledges_nothing_when_dead) {
    write({0x40});
    panel.set_dead();
    EXPECT_EQ(write({0x00}), 0u);
    EXPECT_THAT(read(4), IsEmpty());
}

} // namespace
