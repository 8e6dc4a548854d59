#include "fake_surroundings.h"
#include "sim/models/board/cpld_aes.h"
#include "sim/models/board/cpld_engine.h"
#include "sim/models/board/cpld_hss.h"

#include <gmock/gmock.h>

using k4sim::I2cBus;
using k4sim::Panel;
using testing::ElementsAre;

namespace {

constexpr std::uint16_t base = 0xD000;

class HssTest : public testing::Test {
protected:
    bool busy() { return (cpld.in(base + 4) & 0x80) != 0; }

    FakeSurroundings surroundings;
    Panel panel{0x3D, 8, surroundings};
    k4sim::CpldHss cpld{panel, surroundings};
};

TEST_F(HssTest, IsBusyAfterEachByteAndLosesWhatComesMeanwhile) {
    for (const unsigned offset : {5, 6, 7}) {
        surroundings.advance(10);
        EXPECT_FALSE(busy());
        cpld.out(base + offset, 0xAF);
        EXPECT_TRUE(busy());
        surroundings.advance(1);
        EXPECT_TRUE(busy());
        surroundings.advance(1);
        EXPECT_FALSE(busy());
    }
    cpld.out(base + 7, 0x01);
    cpld.out(base + 7, 0x02);
    EXPECT_EQ(panel.peek_led(), 0x01);
    EXPECT_EQ(cpld.protocol_errors(), 1u);
}

TEST_F(HssTest, TheBytesOfAKeyWordBelongTogether) {
    panel.keys().press('1');
    EXPECT_EQ(cpld.in(base + 7), 0xEF);
    panel.keys().press('M');
    panel.keys().turn(1, 2);
    EXPECT_EQ(cpld.in(base + 8), 0xFF);
    EXPECT_EQ(cpld.in(base + 9), 0x00);
    EXPECT_EQ(cpld.in(base + 10), 0x00);
    EXPECT_EQ(cpld.in(base + 7), 0xEF);
    EXPECT_EQ(cpld.in(base + 9), 0x80);
    EXPECT_EQ(cpld.in(base + 10), 0x02);
    EXPECT_EQ(panel.keys().peek_reads(), 2u);
}

TEST(AesTest, HasMicrophoneSwitchesAndAWatchdogBesideThePort) {
    FakeSurroundings surroundings;
    Panel panel(0x3C, 9, surroundings);
    k4sim::CpldAes cpld(panel, surroundings);
    EXPECT_EQ(cpld.in(base + 0), 2);
    EXPECT_EQ(cpld.in(base + 1), 1);
    EXPECT_EQ(cpld.in(base + 5), 0x3C);
    EXPECT_EQ(cpld.in(base + 11), 0);
    cpld.out(base + 11, 0x45);
    cpld.out(base + 11, 0x45);
    cpld.out(base + 12, 7);
    cpld.out(base + 12, 7);
    cpld.out(base + 12, 8);
    EXPECT_EQ(cpld.in(base + 11), 0x45);
    EXPECT_EQ(cpld.peek_microphone(), 0x45);
    EXPECT_EQ(cpld.peek_watchdog(), 8);
    EXPECT_EQ(cpld.peek_watchdog_writes(), 3u);
    EXPECT_THAT(surroundings.events, ElementsAre("cpld microphone boost=5 phantom=4",
                                                 "cpld watchdog value=7", "cpld watchdog value=8"));
}

class EngineTest : public testing::Test {
protected:
    EngineTest() { bus.attach(0x3C, panel); }

    bool busy() { return (cpld.in(base + 5) & 0x80) != 0; }
    void put(unsigned offset, std::uint8_t value) { cpld.out(base + offset, value); }
    int busy_us() {
        int duration_us = 0;
        for (; busy() && duration_us < 1000; ++duration_us)
            surroundings.advance(1);
        return duration_us;
    }

    FakeSurroundings surroundings;
    Panel panel{0x3D, 7, surroundings};
    I2cBus bus;
    k4sim::CpldEngine cpld{bus, surroundings};
};

TEST_F(EngineTest, MovesBytesInTheTimeThatTheBusTakes) {
    EXPECT_EQ(cpld.in(base + 0), 1);
    EXPECT_EQ(cpld.in(base + 1), 8);
    EXPECT_EQ(cpld.in(base + 5), 0x20) << "nothing to send, nothing received";
    put(5, 2);
    put(6, 0x78);
    EXPECT_EQ(busy_us(), 9); // 9 bits of 1 us
    put(6, 0x50);
    EXPECT_EQ(busy_us(), 9);
    put(5, 1);
    put(6, 0x3E);
    EXPECT_EQ(panel.peek_led(), 0x3E);
    EXPECT_EQ(cpld.protocol_errors(), 0u);
}

TEST_F(EngineTest, CountsWhatADriverDoesTooEarly) {
    put(5, 2);
    put(6, 0x78);
    put(6, 0x50); // waits behind the address byte
    put(6, 0x11); // lost
    EXPECT_EQ(cpld.protocol_errors(), 1u);
    EXPECT_EQ(panel.peek_led(), 0x00);
    cpld.in(base + 7);
    EXPECT_EQ(cpld.protocol_errors(), 2u);
}

} // namespace
