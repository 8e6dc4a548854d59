#include "fake_surroundings.h"
#include "sim/models/panel/panel.h"

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

TEST_F(PanelTest, RefusesWhatItDoesNotKnow) {
    EXPECT_EQ(write({0x30, 0x01}), 0u);
    EXPECT_EQ(write({0x50, 0x01, 0x02}), 2u);
    EXPECT_EQ(write({0x40, 0x00}), 1u);
    EXPECT_EQ(panel.peek_led(), 0x01);
    EXPECT_EQ(panel.protocol_errors(), 4u);
    panel.reset();
    EXPECT_THAT(read(1), ElementsAre(0xFF)) << "a read without a query before it";
    EXPECT_EQ(panel.protocol_errors(), 5u);
}

TEST_F(PanelTest, AcknowledgesNothingWhenDead) {
    write({0x40});
    panel.set_dead();
    EXPECT_EQ(write({0x00}), 0u);
    EXPECT_THAT(read(4), IsEmpty());
}

} // namespace
