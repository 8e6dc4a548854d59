// What hangs on the CPLD, from the processor's side of the ports: the panel behind its parallel
// link, I2C lines and I2C engine, its keys, and the loopback plug. And the speaker.
#include "fake_surroundings.h"
#include "sim/models/device.h"

#include <gmock/gmock.h>
#include <set>

using k4sim::Board;
using testing::ElementsAre;

namespace {

using Bytes = std::vector<std::uint8_t>;

struct Bench {
    explicit Bench(Board board, std::uint64_t seed = 1)
        : base(board == Board::engine ? 0x0A00 : 0xD000), device(board, surroundings, seed) {}

    unsigned in(unsigned offset) { return device.in(static_cast<std::uint16_t>(base + offset)); }
    void out(unsigned offset, unsigned value) {
        device.out(static_cast<std::uint16_t>(base + offset), static_cast<std::uint8_t>(value));
    }
    // How long the bit at the offset stays set.
    int us_until_clear(unsigned offset, unsigned bit) {
        int duration_us = 0;
        for (; (in(offset)&bit) != 0 && duration_us < 1000; ++duration_us)
            surroundings.advance(1);
        return duration_us;
    }

    const unsigned base;
    FakeSurroundings surroundings;
    k4sim::Device device;
};

TEST(CpldTest, TheParallelLinkIsBusyAfterEachByteAndLosesWhatComesMeanwhile) {
    Bench bench(Board::aes);
    for (const unsigned offset : {5, 6, 7}) {
        bench.out(offset, 0xAF);
        EXPECT_EQ(bench.us_until_clear(4, 0x80), 2) << offset;
    }
    for (const unsigned pattern : {1, 2, 3, 4, 5, 6})
        bench.out(7, pattern);
    EXPECT_EQ(bench.device.panel()->peek_led(), 1);
    const std::string error = "cpld protocol-error why=byte sent while the link was busy count=";
    EXPECT_THAT(bench.surroundings.events,
                ElementsAre("oled power on=true", "panel led pattern=175", "panel led pattern=1",
                            error + "1", error + "2", error + "4"));
    bench.device.set_fault("panel-dead", "");
    bench.us_until_clear(4, 0x80);
    bench.out(7, 9);
    EXPECT_EQ(bench.us_until_clear(4, 0x80), 1000) << "for ever";
    bench.out(4, 1); // resets it
    EXPECT_EQ(bench.in(4), 0U);
    EXPECT_EQ(bench.in(5), 0xFFU);
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
    Bench older(Board::engine);
    EXPECT_TRUE(older.device.keys()->turn(1, -2) && older.device.keys()->turn(2, 17));
    EXPECT_EQ(older.device.panel()->key_word(), 0x0E01FFFFU);

    bench.device.set_fault("key-word-invalid", "1");
    EXPECT_EQ(word() >> 31, 1U);
    EXPECT_EQ(word(), 0x3E02FFFFU);
}

// A master of I2C that moves the two lines by hand.
struct Wires : Bench {
    Wires() : Bench(Board::i2c) {}

    // One character a step: the levels that the master gives the lines.
    void wave(std::string_view scl, std::string_view sda) {
        for (std::size_t i = 0; i < scl.size(); ++i)
            out(4, (scl[i] == '-' ? 2 : 0) + (sda[i] == '-' ? 1 : 0));
    }
    void start() { wave("_--_", "--__"); }
    // A bit as the master gives it; what the line carries meanwhile.
    unsigned clock(bool bit) {
        wave("_-", bit ? "--" : "__");
        const unsigned level = in(4) & 1;
        wave("_", bit ? "-" : "_");
        return level;
    }
    unsigned exchange(unsigned byte) {
        unsigned seen = 0;
        for (unsigned mask = 0x80; mask != 0; mask >>= 1)
            seen = seen * 2 + clock((byte & mask) != 0);
        return seen;
    }
    bool acknowledges(unsigned byte) {
        exchange(byte);
        return clock(true) == 0;
    }
};

TEST(PanelTest, AcknowledgesAndAnswersWhatItKnows) {
    const struct {
        Bytes written;
        int acknowledged;
        Bytes read;
        unsigned errors;
    } cases[] = {
        {{0x00}, 1, {0x3C, 0xFF}, 0},
        {{0x01}, 1, {0x05, 0xFF}, 0},
        {{0x40}, 1, {0xBF, 0xFF, 0x00, 0x01, 0xFF}, 0},
        {{0x10, 0xAF, 0xA5}, 3, {}, 0},
        {{0x20, 0xFF}, 2, {0xFF}, 1}, // a read without a query
        {{0x50, 0x2A, 0x2B}, 2, {}, 1},
        {{0x40, 0x00}, 1, {}, 1},
        {{0x30, 0x00}, 0, {}, 2},
    };
    FakeSurroundings surroundings;
    k4sim::Panel panel(0x3C, 5, surroundings);
    panel.keys().press('7');
    panel.keys().turn(1, 1);
    unsigned errors = 0;
    for (const auto& [written, acknowledged, read, more_errors] : cases) {
        panel.begin_write();
        EXPECT_EQ(std::ranges::count_if(written, [&](auto byte) { return panel.write_byte(byte); }),
                  acknowledged);
        if (!read.empty()) panel.begin_read();
        for (const unsigned byte : read)
            EXPECT_EQ(panel.read_byte(), byte) << written[0];
        EXPECT_EQ(panel.protocol_errors(), errors += more_errors);
    }
    const auto is_error = [](auto& text) { return text.starts_with("panel protocol-error why="); };
    EXPECT_EQ(std::ranges::count_if(surroundings.events, is_error), 3) << "1st, 2nd, 4th";
    EXPECT_EQ(panel.peek_led(), 0x2A);
    EXPECT_EQ(panel.oled().peek_mode(), k4sim::Oled::Mode::all_on);
}

TEST(I2cTest, OnlyAStartWakesASlaveAndLinesThatChangeTogetherAreTakenSclFirst) {
    Wires wires;
    EXPECT_FALSE(wires.acknowledges(0x78)) << "without a start condition";
    wires.wave("-_____--", "---__---"); // one clock pulse, SDA moves while SCL is low
    EXPECT_FALSE(wires.acknowledges(0x78));
    wires.start();
    EXPECT_TRUE(wires.acknowledges(0x78));
    wires.clock(true);
    wires.start(); // amid a byte
    EXPECT_TRUE(wires.acknowledges(0x78) && wires.acknowledges(0x01));
    wires.start();
    EXPECT_TRUE(wires.acknowledges(0x79));
    wires.wave("_-_-_-_-_-_-_-_-_-_", "----------------__-"); // 8 bits, acknowledged
    EXPECT_EQ(wires.exchange(0xFF), 0xFFU);
    wires.start();
    EXPECT_FALSE(wires.acknowledges(0x7A)) << "another's address";
}

TEST(EngineTest, AByteTakes9UsAndWhatComesTooEarlyIsAnError) {
    Bench bench(Board::engine);
    bench.out(5, 2); // start
    bench.out(6, 0x78);
    EXPECT_EQ(bench.us_until_clear(5, 0x80), 9);
    bench.out(6, 0x01);
    bench.out(5, 3);    // start, and one byte is all
    bench.out(6, 0x79); // waits
    EXPECT_EQ(bench.us_until_clear(5, 0x80), 18);
    EXPECT_EQ(bench.us_until_clear(5, 0x20), 9);
    EXPECT_EQ(bench.in(7), 0x07U);
    EXPECT_EQ(bench.us_until_clear(5, 0x20), 1000);
    bench.in(7);
    for (const unsigned byte : {0x78, 0x50, 0x11, 0x12, 0x13}) // from the third on too early
        bench.out(6, byte);
    EXPECT_THAT(bench.surroundings.events,
                ElementsAre("cpld protocol-error why=read before a byte was ready count=1",
                            "cpld protocol-error why=byte sent while another waits count=2",
                            "cpld protocol-error why=byte sent while another waits count=4"));
}

TEST(ParallelLoopbackTest, AFlakyLineIsWrongOnceInEachRunOfReadings) {
    Bench bench(Board::aes);
    bench.device.set_fault("parallel-flaky", "5:66"); // of the readings
    bench.out(2, 0x0F);
    std::set<unsigned> places; // by chance, else a test's 66 readings would never see some
    for (unsigned i = 0; i < 50; ++i) {
        unsigned wrong = 0;
        for (unsigned reading = 0; reading < 66; ++reading)
            if (bench.in(3) != 0x0F) places.insert(reading), ++wrong;
        EXPECT_EQ(wrong, 1U) << i;
    }
    EXPECT_GT(places.size(), 16U);
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
        const std::string event = "parallel mismatch driven=" + std::to_string(driven) +
                                  " read=" + std::to_string(read) + " count=";
        EXPECT_THAT(bench.surroundings.events, ElementsAre(event + "1", event + "2", event + "4"));
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
    speaker.set_divider(0);
    speaker.tone(2386, 0); // silence
    speaker.set_divider(2386);
    speaker.set_present(false);
    speaker.tone(2386, 100);
    speaker.set_divider(1193);
    EXPECT_THAT(heard, ElementsAre(std::pair(0, 500), std::pair(60, 1000), std::pair(160, 0),
                                   std::pair(200, 1000), std::pair(600'200, 0),
                                   std::pair(600'200, 500), std::pair(600'200, 0)));
    EXPECT_EQ(surroundings.events[3], "speaker sound divider=1193 hz=1000");
}

} // namespace
