// The digital line: when the receiver locks, and what its registers tell then.
#include "sim/models/sound/aesebu.h"

#include "fake_surroundings.h"

#include <algorithm>
#include <gtest/gtest.h>

namespace {

using namespace k4sim;

constexpr Microseconds ms = 1000;

// Everything as it must be at 48000 Hz, but not yet locked.
struct Bench {
    Bench() {
        line.set_cable(true);
        line.set_transmitter(true);
        line.set_stream_rate(48000);
        line.set_spdif(0x00);
        line.set_channel_status({0x81});
    }
    void settle() { surroundings.advance(AesEbu::lock_time_us); }

    FakeSurroundings surroundings;
    AesEbu line{surroundings};
};

TEST(AesEbu, LocksWhereRateAndCodeAgreeAndTellsTheRate) {
    const struct {
        unsigned rate_hz;
        std::uint8_t spdif, status_byte;
        std::uint8_t receiver_status;
    } cases[] = {
        {32000, 0x14, 0xC1, 0x0D},
        {44100, 0x80, 0x41, 0x0B},
        {48000, 0x00, 0x81, 0x09},
        {88200, 0x90, 0x01, 0x07},
        {96000, 0x10, 0x01, 0x05},
        // Not locked: no rate.
        {32000, 0x00, 0xC1, 0x0E},
        {48000, 0x14, 0x81, 0x0E},
        {48000, 0x84, 0x81, 0x0E},
    };
    for (const auto& row : cases) {
        Bench bench;
        bench.settle();
        bench.line.set_stream_rate(row.rate_hz);
        bench.line.set_spdif(row.spdif);
        bench.line.set_channel_status({row.status_byte});
        bench.settle();
        EXPECT_EQ(bench.line.receiver_status(), row.receiver_status) << row.rate_hz;
        const bool locked = (row.receiver_status & 1) != 0;
        EXPECT_EQ(bench.line.received_status()[0], locked ? row.status_byte : 0) << row.rate_hz;
    }
}

TEST(AesEbu, NeedsCableTransmitterAndStreamAndAMoment) {
    const struct {
        void (*take)(AesEbu&);
        void (*give)(AesEbu&);
    } cases[] = {
        {[](AesEbu& line) { line.set_cable(false); }, [](AesEbu& line) { line.set_cable(true); }},
        {[](AesEbu& line) { line.set_transmitter(false); },
         [](AesEbu& line) { line.set_transmitter(true); }},
        {[](AesEbu& line) { line.set_stream_rate(0); },
         [](AesEbu& line) { line.set_stream_rate(48000); }},
        {[](AesEbu& line) { line.set_spdif(0x80); }, [](AesEbu& line) { line.set_spdif(0x00); }},
    };
    for (const auto& [take, give] : cases) {
        Bench bench;
        bench.settle();
        ASSERT_TRUE(bench.line.locked()) << &take - &cases[0].take;
        take(bench.line);
        EXPECT_FALSE(bench.line.locked());
        bench.surroundings.advance(1000 * ms);
        EXPECT_FALSE(bench.line.locked());
        give(bench.line);
        bench.surroundings.advance(AesEbu::lock_time_us - 1);
        EXPECT_FALSE(bench.line.locked());
        bench.surroundings.advance(1);
        EXPECT_TRUE(bench.line.locked());
    }
}

TEST(AesEbu, TheConsumerFormatTellsTheRateInByte3) {
    const struct {
        unsigned rate_hz;
        std::uint8_t spdif, byte_3;
    } cases[] = {{32000, 0x15, 3}, {44100, 0x81, 0}, {48000, 0x01, 2}};
    for (const auto& row : cases) {
        Bench bench;
        bench.line.set_stream_rate(row.rate_hz);
        bench.line.set_spdif(row.spdif);
        bench.settle();
        EXPECT_TRUE(bench.line.locked());
        EXPECT_EQ(bench.line.received_status()[0] & 1, 0);
        EXPECT_EQ(bench.line.received_status()[3] & 0x0F, row.byte_3) << row.rate_hz;
    }
}

TEST(AesEbu, ALostLockComesBackAndShowsInTheIndication) {
    Bench bench;
    bench.settle();
    bench.line.clear_lock_changed();
    bench.line.lose_lock(300 * ms);
    EXPECT_FALSE(bench.line.locked());
    EXPECT_TRUE(bench.line.lock_changed());
    bench.line.set_channel_status({0x81});
    bench.line.set_spdif(0x00); // does not bring it back earlier
    bench.surroundings.advance(310 * ms);
    EXPECT_FALSE(bench.line.locked());
    bench.surroundings.advance(10 * ms);
    EXPECT_TRUE(bench.line.locked());
    EXPECT_EQ(std::ranges::count(bench.surroundings.events, "aes lock rate=48000"), 2);
    EXPECT_EQ(std::ranges::count(bench.surroundings.events, "aes unlock rate=48000"), 1);
}

} // namespace
