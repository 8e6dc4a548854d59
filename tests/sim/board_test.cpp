// What hangs on the CPLD, from the processor's side of the ports: the panel behind its parallel
// link, I2C lines, keys, and the loopback plug. And the speaker.
#include "fake_surroundings.h"
#include "hw/i2c.h"
#include "hw/i2c_stage.h"
#include "sim/models/device.h"

#include <gmock/gmock.h>

using k4sim::Board;
using testing::ElementsAre;

namespace {

struct Bench {
    explicit Bench(Board board)
        : base(board == Board::engine ? 0x0A00 : 0xD000), device(board, surroundings) {}

    unsigned in(unsigned offset) { return device.in(static_cast<std::uint16_t>(base + offset)); }
    void out(unsigned offset, unsigned value) {
        device.out(static_cast<std::uint16_t>(base + offset), static_cast<std::uint8_t>(value));
    }

    const unsigned base;
    FakeSurroundings surroundings;
    k4sim::Device device;
};

TEST(CpldTest, TheParallelLinkIsBusyAfterEachByteAndLosesWhatComesMeanwhile) {
    Bench bench(Board::aes);
    for (const unsigned pattern : {1, 2, 3, 4, 5, 6})
        bench.out(7, pattern);
    EXPECT_EQ(bench.device.panel()->peek_led(), 1);
    const std::string error = "cpld protocol-error why=byte sent while the link was busy count=";
    EXPECT_THAT(bench.surroundings.events,
                ElementsAre("panel led pattern=1", error + "1", error + "2", error + "4"));
    bench.device.set_fault("panel-dead", "");
    bench.surroundings.advance(1000);
    EXPECT_EQ(bench.in(4), 0U);
    bench.out(7, 9);
    bench.surroundings.advance(1000);
    EXPECT_EQ(bench.in(4) & 0x80, 0x80U) << "for ever";
    bench.out(4, 1); // resets it
    EXPECT_EQ(bench.in(4), 0U);
    EXPECT_EQ(bench.in(5), 0xFFU);
}

TEST(CpldTest, TheMicrophonesSwitchesAndTheWatchdogTellEachChangeOnce) {
    Bench bench(Board::aes);
    for (const unsigned value : {0x2D, 0x2D, 0x10})
        bench.out(0xB, value);
    EXPECT_EQ(bench.in(0xB), 0x10U);
    for (const unsigned value : {0, 0, 7})
        bench.out(0xC, value);
    EXPECT_THAT(bench.surroundings.events,
                ElementsAre("cpld microphone boost=13 phantom=2", "sound boost input=1 on=true",
                            "sound phantom input=2 on=true", "cpld microphone boost=0 phantom=1",
                            "sound boost input=1 on=false", "sound phantom input=1 on=true",
                            "sound phantom input=2 on=false", "cpld watchdog value=0",
                            "cpld watchdog value=7"));
}

TEST(KeysTest, TheBytesOfAWordBelongTogetherAndHoldEachKeyAndEncoder) {
    Bench bench(Board::plain);
    k4sim::Keys& keys = *bench.device.keys();
    const auto word = [&] {
        unsigned read = bench.in(7);
        keys.press('A'); // too late for this word
        for (const unsigned byte : {1, 2, 3})
            read |= bench.in(7 + byte) << 8 * byte;
        keys.release('A');
        return read;
    };
    constexpr std::string_view bits = "CDEA147*2580369#       M       K";
    for (const char key : k4sim::key_characters) {
        EXPECT_TRUE(keys.press(key));
        EXPECT_EQ(word(), 0xFFFFU ^ 1U << bits.find(key)) << key;
        EXPECT_TRUE(keys.release(key));
    }
    EXPECT_FALSE(keys.press('L') || keys.release('L') || keys.turn(0, 1) || keys.turn(3, 1));
    EXPECT_TRUE(keys.turn(1, 2) && keys.turn(2, 60) && keys.turn(2, 6) && keys.turn(1, -4));
    EXPECT_EQ(word(), 0x3E02FFFFU); // six bits since version 8
    bench.device.set_fault("key-word-invalid", "1");
    EXPECT_EQ(word() >> 31, 1U);
    EXPECT_EQ(word(), 0x3E02FFFFU);
}

TEST(I2cTest, OnlyAStartWakesASlaveAndLinesThatChangeTogetherAreTakenSclFirst) {
    OnLines<KLTi2cBase2> master(0x3C);
    const auto move = [&](std::initializer_list<std::pair<int, int>> levels) {
        for (const auto& [scl, sda] : levels)
            master.putI2C(scl, sda);
    };
    EXPECT_FALSE(master.iicBwrite(0x78)) << "without a start condition";
    move({{1, 1}, {0, 0}, {0, 1}, {0, 0}, {1, 1}, {0, 1}});
    EXPECT_FALSE(master.iicBwrite(0x78));
    for (int i = 0; i < 2; ++i) { // the second start is amid a byte
        move({{1, 1}, {1, 0}, {0, 0}});
        EXPECT_TRUE(master.iicBwrite(0x78));
        move({{0, 1}, {1, 1}, {0, 1}});
    }
    EXPECT_EQ(master.slave.take(), "S w S w");
}

TEST(EngineTest, WhatComesTooEarlyOrIsTooLongIsAnError) {
    Bench bench(Board::engine);
    const auto send = [&](unsigned control, unsigned byte) {
        bench.out(5, control);
        bench.out(6, byte);
        bench.surroundings.advance(1000);
    };
    send(2, 0x78);
    send(1, 0x01); // the version is wanted
    send(3, 0x79); // a read that stops after its only byte
    EXPECT_EQ(bench.in(5), 0U);
    EXPECT_EQ(bench.in(7), 7U);
    bench.surroundings.advance(1000);
    EXPECT_EQ(bench.in(5), 0x20U) << "no more comes";
    bench.in(7); // nothing is ready
    bench.out(5, 2);
    for (const unsigned byte : {0x78, 0x50, 0x11}) // the third is too early
        bench.out(6, byte);
    const std::string error = "cpld protocol-error why=";
    EXPECT_THAT(bench.surroundings.events,
                ElementsAre(error + "read before a byte was ready count=1",
                            error + "byte sent while another waits count=2"));
    k4sim::Panel& panel = *bench.device.panel();
    panel.begin_write();
    EXPECT_TRUE(panel.write_byte(0x50) && panel.write_byte(0x2A));
    EXPECT_FALSE(panel.write_byte(0x2B));
    EXPECT_EQ(panel.peek_led(), 0x2A);
    bench.device.set_fault("panel-dead", "");
    EXPECT_FALSE(panel.begin_write() || panel.write_byte(0x01) || panel.begin_read());
}

TEST(ParallelLoopbackTest, ShortsSideBySideJoinTheirLinesAndEventsTellFewerMismatches) {
    const struct {
        const char *first, *second;
        unsigned driven, read;
    } cases[] = {{"tied-high", "tied-high", 0x41, 0x47}, {"tied-high", "tied-high", 0x44, 0x47},
                 {"tied-low", "tied-low", 0xFE, 0xF8},   {"tied-low", "tied-low", 0xFB, 0xF8},
                 {"high", "inverted", 0x42, 0x41},       {"low", "open", 0x07, 0x04}};
    for (const auto& [first, second, driven, read] : cases) {
        Bench bench(Board::i2c);
        bench.device.set_fault(std::string("parallel-") + first, "0");
        bench.device.set_fault(std::string("parallel-") + second, "1");
        bench.out(2, driven);
        for (int i = 0; i < 5; ++i)
            EXPECT_EQ(bench.in(3), read) << driven;
        EXPECT_EQ(bench.surroundings.events.size(), 3U) << "the 1st, 2nd, 4th";
    }
}

TEST(SpeakerTest, SoundsAsToldAndNotAtAllWhereItIsAbsent) {
    FakeSurroundings surroundings;
    k4sim::Speaker speaker(surroundings);
    std::vector<std::pair<int, unsigned>> heard; // when, and which frequency
    speaker.set_on_change(
        [&] { heard.emplace_back(surroundings.now() / 1000, speaker.frequency_hz()); });
    speaker.tone(2386, 100);
    surroundings.advance(60'000);
    speaker.tone(1193, 100); // is not cut by the end of the earlier one
    surroundings.advance(140'000);
    speaker.set_divider(1193); // until it is stopped
    surroundings.advance(600'000'000);
    speaker.set_present(false);
    speaker.tone(2386, 100);
    speaker.set_divider(1193);
    EXPECT_THAT(heard, ElementsAre(std::pair(0, 500), std::pair(60, 1000), std::pair(160, 0),
                                   std::pair(200, 1000), std::pair(600'200, 0)));
}

} // namespace
