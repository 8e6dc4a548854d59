#include "hw/i2c.h"

#include <array>
#include <string>
#include <vector>

#include "i2c_wire.h"
#include <gtest/gtest.h>

namespace {

/** A software I2C master on a decoded wire. */
class WireBus : public KLTi2cBase2 {
public:
    I2cWire wire;

    explicit WireBus(int address = 0x3C) { wire.acknowledged = {address * 2, address * 2 + 1}; }

    void putI2C(int scl, int sda) override { wire.set(scl, sda); }
    int getI2C(bool) override { return wire.level(); }
};

/** A bus that writes line operations down: "01" is SCL low and SDA released, "?" a data read,
    "A" an acknowledge read, "w" a wait. Reads give the scripted levels, then 1. */
class TracedBus : public KLTi2cBase2 {
public:
    std::string trace;
    std::deque<int> levels;

    void putI2C(int scl, int sda) override {
        note(std::string{static_cast<char>('0' + scl), static_cast<char>('0' + sda)});
    }
    int getI2C(bool ack) override {
        note(ack ? "A" : "?");
        if (levels.empty()) return 1;
        const int level = levels.front();
        levels.pop_front();
        return level;
    }
    void waitI2C() override { note("w"); }

private:
    void note(const std::string& entry) {
        if (!trace.empty()) trace += ' ';
        trace += entry;
    }
};

} // namespace

TEST(I2cLines, WrittenByte) {
    const std::string one = "01 11 w w ";
    const std::string zero = "00 10 w w ";
    for (const int acknowledge : {0, 1}) {
        TracedBus bus;
        bus.levels = {acknowledge};
        EXPECT_EQ(bus.iicBwrite(0x1CA), acknowledge == 0) << "only eight bits are sent";
        EXPECT_EQ(bus.trace, one + one + zero + zero + one + zero + one + zero + "01 11 w A 00 w");
    }
}

TEST(I2cLines, ReadByte) {
    for (const bool acknowledge : {true, false}) {
        TracedBus bus;
        bus.levels = {1, 0, 0, 1, 0, 1, 1, 0};
        EXPECT_EQ(bus.iicBread(acknowledge), 0x96);
        std::string expected = "01 ";
        for (int bit = 0; bit < 8; ++bit)
            expected += "11 w ? 01 w ";
        EXPECT_EQ(bus.trace, expected + (acknowledge ? "00 10 w 00 w" : "01 11 w 00 w"));
    }
}

TEST(I2cLines, DataLineTestTellsStuckLines) {
    const struct {
        std::deque<int> levels;
        int result;
        const char* trace;
    } cases[] = {
        {{1, 0, 1}, 0, "11 01 ? 00 ? 01 ? 11"},
        {{0, 0, 0}, -8645, "11 01 ? 11"},
        {{1, 1, 1}, -8644, "11 01 ? 00 ? 11"},
        {{1, 0, 0}, -8645, "11 01 ? 00 ? 01 ? 11"},
    };
    for (const auto& [levels, result, trace] : cases) {
        TracedBus bus;
        bus.levels = levels;
        EXPECT_EQ(bus.testDataLine(), result);
        EXPECT_EQ(bus.trace, trace);
    }
}

TEST(I2cBlocks, WriteAndReadEveryLength) {
    for (int length = 1; length <= 5; ++length) {
        WireBus bus(0x7F);
        const std::array<std::uint8_t, 5> sent = {0x00, 0xFF, 0xA5, 0x5A, 0x01};
        bus.wire.answers = {0x12, 0x34, 0x80, 0x01, 0xFF};
        std::array<std::uint8_t, 5> received{};
        EXPECT_EQ(bus.writeBlock(0x7F, sent.data(), length), 0);
        EXPECT_EQ(bus.readBlock(0x7F, received.data(), length), 0);

        const std::string written = "00+ ff+ a5+ 5a+ 01+ ";
        const std::vector<std::string> read = {"12", "34", "80", "01", "ff"};
        std::string expected = "S fe+ " + written.substr(0, length * 4U) + "P S ff+";
        for (int i = 0; i < length; ++i)
            expected += " " + read[i] + (i + 1 < length ? "+" : "-");
        EXPECT_EQ(bus.wire.take(), expected + " P");
        EXPECT_TRUE(bus.wire.isIdle());
        EXPECT_EQ(received[length - 1], std::stoi(read[length - 1], nullptr, 16));
    }
}

TEST(I2cBlocks, FailuresLeaveTheBusIdle) {
    const std::uint8_t data[] = {1, 2, 3};
    WireBus absent;
    std::uint8_t received[3] = {7, 7, 7};
    EXPECT_EQ(absent.writeBlock(0x20, data, 3), -8648);
    EXPECT_EQ(absent.readBlock(0x20, received, 3), -8647);
    EXPECT_EQ(received[0], 7);
    EXPECT_EQ(absent.wire.take(), "S 40- P S 41- P");
    EXPECT_TRUE(absent.wire.isIdle());

    WireBus full;
    full.wire.writableBytes = 1;
    EXPECT_EQ(full.writeBlock(0x3C, data, 3), -8646);
    EXPECT_EQ(full.wire.take(), "S 78+ 01+ 02- P");
    EXPECT_TRUE(full.wire.isIdle());
}

TEST(I2cBlocks, BadArgumentsTouchNoLine) {
    std::uint8_t byte = 0;
    std::uint8_t* const data = &byte;
    for (const auto& [addr, block, length] : {std::tuple{128, data, 1},
                                              {-1, data, 1},
                                              {0x3C, data, 0},
                                              {0x3C, data, -1},
                                              {0x3C, static_cast<std::uint8_t*>(nullptr), 1}}) {
        TracedBus bus;
        EXPECT_EQ(bus.writeBlock(addr, block, length), -8649);
        EXPECT_EQ(bus.readBlock(addr, block, length), -8649);
        EXPECT_EQ(bus.trace, "");
    }
}

TEST(I2cWriteRead, TwoTransactionsOrTheCodeOfTheWrite) {
    const std::uint8_t command = 0x40;
    std::uint8_t answer[2] = {};
    WireBus bus;
    bus.wire.answers = {0xCA, 0xFE};
    EXPECT_EQ(bus.writeRead(0x3C, &command, 1, answer, 2), 0);
    EXPECT_EQ(bus.wire.take(), "S 78+ 40+ P S 79+ ca+ fe- P");
    EXPECT_EQ(answer[1], 0xFE);

    bus.wire.writableBytes = 0;
    EXPECT_EQ(bus.writeRead(0x3C, &command, 1, answer, 2), -8646);
    EXPECT_EQ(bus.wire.take(), "S 78+ 40- P");

    bus.wire.writableBytes = 1;
    bus.wire.acknowledged = {0x78};
    EXPECT_EQ(bus.writeRead(0x3C, &command, 1, answer, 2), -8647);
    EXPECT_EQ(bus.writeRead(0x3C, &command, 1, nullptr, 2), -8649);
}
