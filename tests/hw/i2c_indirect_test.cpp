#include "hw/i2c_indirect.h"

#include <cstdint>
#include <numeric>
#include <vector>

#include "baselib/time/clock.h"
#include "hw/lagged_fibonacci.h"
#include "i2c_wire.h"
#include <gtest/gtest.h>

namespace {

class WireClient : public KLTi2cBase2 {
public:
    I2cWire wire;
    int waits = 0;

    WireClient() { wire.acknowledged = {0x78, 0x79}; }
    void putI2C(int scl, int sda) override { wire.set(scl, sda); }
    int getI2C(bool) override { return wire.level(); }
    void waitI2C() override { ++waits; }
};

/** Rebuilds the traffic from what is logged. */
class WireLogger : public KLTi2cLogBase {
public:
    I2cWire wire;
    int acknowledges = 0;
    int lowAcknowledges = 0;
    int dataBits = 0;

    WireLogger() { wire.acknowledged = {0x78, 0x79}; }
    void logOutput(int scl, int sda) override { wire.set(scl, sda); }
    void logInput(int value, bool ack) override {
        EXPECT_EQ(value, wire.level());
        ++(ack ? acknowledges : dataBits);
        if (ack && value == 0) ++lowAcknowledges;
    }
};

/** Keeps each block, takes 250 ms for it, and fails at a chosen one. */
class BlockSink : public KLTi2cIndirect {
public:
    std::vector<std::vector<std::uint8_t>> blocks;
    std::size_t failsAt = 1000;

    int writeBlock(int addr, const void* data, int len) override {
        EXPECT_EQ(addr, 0x3C);
        const auto* bytes = static_cast<const std::uint8_t*>(data);
        blocks.emplace_back(bytes, bytes + len);
        KLFdelay(250'000);
        return blocks.size() == failsAt ? -77 : 0;
    }
};

/** The generator from its definition: the words in one endless list, none stored back. */
std::vector<std::uint32_t> knuthWords(std::size_t count) {
    std::vector<std::int64_t> differences = {0, 1};
    while (differences.size() < 55)
        differences.push_back(differences[differences.size() - 2] - differences.back());
    std::vector<std::uint32_t> words(55);
    for (std::size_t i = 0; i < 55; ++i)
        words[21 * i % 55] = static_cast<std::uint32_t>(differences[i]);
    while (words.size() < 55 + 4 * 55 + count)
        words.push_back(words[words.size() - 55] - words[words.size() - 24]);
    words.erase(words.begin(), words.begin() + 55 + 4 * 55);
    return words;
}

} // namespace

TEST(LaggedFibonacci, GivesTheWordsOfTheRecurrence) {
    const std::vector<std::uint32_t> expected = knuthWords(1000);
    LaggedFibonacci generator;
    for (std::size_t i = 0; i < expected.size(); ++i)
        ASSERT_EQ(generator.next(), expected[i]) << i;
}

TEST(I2cIndirect, ForwardsLogsAndCounts) {
    WireClient client;
    client.wire.answers = {0xC3};
    WireLogger logger;
    logger.wire.answers = {0xC3};
    KLTi2cIndirect bus;
    EXPECT_EQ(bus.setClient(&client), &client);
    EXPECT_EQ(bus.setLogger(&logger), &logger);

    const std::uint8_t sent = 0x40;
    std::uint8_t received = 0;
    EXPECT_EQ(bus.writeRead(0x3C, &sent, 1, &received, 1), 0);
    EXPECT_EQ(received, 0xC3);
    EXPECT_EQ(client.wire.take(), "S 78+ 40+ P S 79+ c3- P");
    EXPECT_EQ(logger.wire.take(), "S 78+ 40+ P S 79+ c3- P");
    EXPECT_EQ(logger.acknowledges, 3);
    EXPECT_EQ(logger.lowAcknowledges, 3);
    EXPECT_EQ(logger.dataBits, 8);
    EXPECT_EQ(bus.noAckCount(), 0);
    EXPECT_EQ(bus.waitCount(), 3 * 18 + 18);
    EXPECT_EQ(client.waits, bus.waitCount());
}

TEST(I2cIndirect, CountsMissingAcknowledgesButNoDataBits) {
    WireClient client;
    client.wire.answers = {0xFF};
    KLTi2cIndirect bus;
    bus.setClient(&client);
    std::uint8_t byte = 0;
    EXPECT_EQ(bus.readBlock(0x3C, &byte, 1), 0);
    EXPECT_EQ(bus.noAckCount(), 0);
    EXPECT_EQ(bus.writeBlock(0x11, &byte, 1), -8648);
    client.wire.writableBytes = 0;
    EXPECT_EQ(bus.writeBlock(0x3C, &byte, 1), -8646);
    EXPECT_EQ(bus.noAckCount(), 2);
}

TEST(I2cIndirect, NullRestoresTheSharedDummies) {
    WireClient client;
    WireLogger logger;
    KLTi2cIndirect bus;
    KLTi2cIndirect other;
    bus.setClient(&client);
    bus.setLogger(&logger);
    EXPECT_EQ(bus.setClient(nullptr), other.setClient(nullptr));
    EXPECT_EQ(bus.setLogger(nullptr), other.setLogger(nullptr));
    const std::uint8_t byte = 0;
    EXPECT_EQ(bus.writeBlock(0x3C, &byte, 1), -8648);
    EXPECT_EQ(client.wire.take(), "");
    EXPECT_EQ(logger.wire.take(), "");
}

TEST(PumpOut, SendsTheSameRandomBlockUntilOneFails) {
    const std::vector<std::uint32_t> words = knuthWords(300);
    BlockSink bus;
    long long elapsed_us = -1;
    for (const auto& [bytes, rounds] : {std::pair{0, 5}, {5, 0}, {-5, 1}})
        EXPECT_EQ(bus.pumpOut(0x3C, bytes, rounds, elapsed_us), 0);
    EXPECT_TRUE(bus.blocks.empty());
    EXPECT_EQ(elapsed_us, -1);
    EXPECT_EQ(bus.pumpOut(0x3C, 300, 3, elapsed_us), 0);
    ASSERT_EQ(bus.blocks.size(), 3U);
    for (std::size_t i = 0; i < words.size(); ++i)
        ASSERT_EQ(bus.blocks[0][i], words[i] & 0xFF) << i;
    EXPECT_EQ(bus.blocks[1], bus.blocks[0]);
    EXPECT_EQ(bus.blocks[2], bus.blocks[0]);
    EXPECT_NEAR(static_cast<double>(elapsed_us), 750'000, 20'000) << "two ticks of the clock";
    bus.failsAt = 5;
    EXPECT_EQ(bus.pumpOut(0x3C, 1, 5, elapsed_us), -77);
    EXPECT_EQ(bus.blocks.size(), 5U);
    EXPECT_NEAR(static_cast<double>(elapsed_us), 500'000, 20'000);
}
