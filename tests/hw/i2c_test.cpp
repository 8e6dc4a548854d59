#include "hw/i2c_indirect.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <tuple>
#include <vector>

#include "hw/lagged_fibonacci.h"
#include "i2c_stage.h"

namespace {

// A bus that writes line operations down: "01" is SCL low and SDA released, "?1" a data bit
// read, "A0" an acknowledge read, "w" a wait; in brackets as logged. Reads find the levels
// that the expected trace has for them.
class TracedBus : public KLTi2cBase2, public KLTi2cLogBase {
public:
    explicit TracedBus(const std::string& expected) : expected_(expected) {}
    std::string trace;

    void putI2C(int scl, int sda) override { note(levels(scl, sda)); }
    int getI2C(bool ack) override {
        next_read_ = expected_.find(ack ? 'A' : '?', next_read_) + 1;
        const int level = expected_[next_read_] - '0';
        note((ack ? "A" : "?") + std::to_string(level));
        return level;
    }
    void waitI2C() override { note("w"); }
    void logOutput(int scl, int sda) override { note("(" + levels(scl, sda) + ")"); }
    void logInput(int value, bool ack) override {
        note((ack ? "(A" : "(?") + std::to_string(value) + ")");
    }

private:
    static std::string levels(int scl, int sda) { return {char('0' + scl), char('0' + sda)}; }
    void note(const std::string& entry) { trace += " " + entry; }

    std::string expected_;
    std::size_t next_read_ = 0;
};

using Block = std::vector<std::uint8_t>;

} // namespace

TEST(I2cMaster, ReadsAndTestsTheDataLine) {
    const std::string bits = " 11 w ?1 01 w 11 w ?0 01 w";
    const std::string got = " 01" + bits + bits + bits + bits;
    const std::tuple<int (*)(KLTi2cBase2&), int, std::string> operations[] = {
        {[](auto& bus) { return bus.iicBread(true); }, 0xAA, got + " 00 10 w 00 w"},
        {[](auto& bus) { return bus.iicBread(false); }, 0xAA, got + " 01 11 w 00 w"},
        {[](auto& bus) { return bus.testDataLine(); }, 0, " 11 01 ?1 00 ?0 01 ?1 11"},
        {[](auto& bus) { return bus.testDataLine(); }, -8645, " 11 01 ?0 11"},
        {[](auto& bus) { return bus.testDataLine(); }, -8644, " 11 01 ?1 00 ?1 11"},
        {[](auto& bus) { return bus.testDataLine(); }, -8645, " 11 01 ?1 00 ?0 01 ?0 11"},
    };
    for (const auto& [run, result, trace] : operations) {
        TracedBus bus(trace);
        EXPECT_EQ(run(bus), result) << trace;
        EXPECT_EQ(bus.trace, trace);
    }
}

// The buffer holds 01 02 03 at first, the slave at 0x7F sends CA FE 35.
TEST(I2cMaster, TransfersBlocksOrTellsWhatWentWrong) {
    const struct {
        char kind; // write, read, or exchange: write one byte and read the others
        int address;
        int length;
        int result;
        const char* heard;
        Block after = {1, 2, 3};
        int room = 1000;
        bool is_readable = true;
    } transfers[] = {
        {'w', 0x7F, 1, 0, "S w 01 P"},
        {'w', 0x7F, 3, 0, "S w 01 02 03 P"},
        {'w', 0x7F, 3, -8646, "S w 01 02! P", {1, 2, 3}, 1},
        {'w', 0x7E, 3, -8648, "S P"},
        {'r', 0x7F, 1, 0, "S r ca P", {0xCA, 2, 3}},
        {'r', 0x7F, 3, 0, "S r ca fe 35 P", {0xCA, 0xFE, 0x35}},
        {'r', 0x7E, 3, -8647, "S P"},
        {'x', 0x7F, 1, 0, "S w 01 P S r ca fe P", {1, 0xCA, 0xFE}},
        {'x', 0x7F, 1, -8646, "S w 01! P", {1, 2, 3}, 0},
        {'x', 0x7F, 1, -8647, "S w 01 P S r! P", {1, 2, 3}, 1, false},
        {'w', 128, 1, -8649, ""},
        {'w', -1, 1, -8649, ""},
        {'w', 0x7F, 0, -8649, ""},
        {'r', 0x7F, -1, -8649, ""},
    };
    for (const auto& [kind, address, length, result, heard, after, room, is_readable] : transfers) {
        OnLines<KLTi2cBase2> bus(0x7F);
        bus.slave.answers = {0xCA, 0xFE, 0x35};
        bus.slave.room = room;
        bus.slave.is_readable = is_readable;
        EXPECT_EQ(bus.writeBlock(0x7F, nullptr, 1), -8649);
        EXPECT_EQ(bus.readBlock(0x7F, nullptr, 1), -8649);
        Block data = {1, 2, 3};
        const int code = kind == 'w'   ? bus.writeBlock(address, data.data(), length)
                         : kind == 'r' ? bus.readBlock(address, data.data(), length)
                                       : bus.writeRead(address, &data[0], length, &data[1], 2);
        EXPECT_EQ(code, result) << heard;
        EXPECT_EQ(bus.slave.take(), heard);
        EXPECT_EQ(data, after) << heard;
        EXPECT_TRUE(bus.lines.scl() && bus.lines.sda()) << "not idle after " << heard;
    }
}

TEST(I2cIndirect, ForwardsLogsAndCountsUntilNullRestoresTheDummies) {
    const std::string trace = " 11 (11) 01 (01) ?1 (?1) 00 (00) ?1 (?1) 11 (11)";
    TracedBus client(trace + " A0 A1");
    KLTi2cIndirect bus;
    EXPECT_EQ(bus.setClient(&client), &client);
    EXPECT_EQ(bus.setLogger(&client), &client);
    EXPECT_EQ(bus.testDataLine(), -8644);
    EXPECT_EQ(client.trace, trace);
    EXPECT_TRUE(bus.iicBwrite(0));
    EXPECT_EQ(bus.noAckCount(), 0);
    EXPECT_FALSE(bus.iicBwrite(0));
    EXPECT_EQ(bus.noAckCount(), 1);
    EXPECT_TRUE(client.trace.ends_with("w A1 (A1) 00 (00) w"));
    EXPECT_EQ(bus.waitCount(), 36);
    EXPECT_EQ(std::ranges::count(client.trace, 'w'), 36);

    KLTi2cIndirect other;
    EXPECT_EQ(bus.setClient(nullptr), other.setClient(nullptr));
    EXPECT_EQ(bus.setLogger(nullptr), other.setLogger(nullptr));
    const std::string before = client.trace;
    EXPECT_EQ(bus.writeBlock(0x3C, &trace, 1), -8648);
    std::uint8_t byte = 0;
    EXPECT_EQ(bus.readBlock(0x3C, &byte, 1), -8647);
    EXPECT_EQ(client.trace, before);
}

// Words worked out from the recurrence that the header tells, in another program.
TEST(I2cIndirect, PumpsTheSameRandomBlockOutUntilOneFails) {
    LaggedFibonacci generator;
    std::vector<std::uint32_t> words(1000);
    std::ranges::generate(words, [&] { return generator.next(); });
    EXPECT_TRUE(words[0] == 0xA6E617C3 && words[54] == 0x78FD8FDC && words[999] == 0x232C27FF);
    std::string block = "S w";
    for (int i = 0; i < 300; ++i)
        block += " " + NotingSlave::hex(static_cast<std::uint8_t>(words[i]));

    OnLines<KLTi2cIndirect> bus(0x3C);
    long long elapsed_us = -1;
    for (const auto& [bytes, rounds] : {std::pair{0, 5}, {5, 0}, {-5, 1}})
        EXPECT_EQ(bus.pumpOut(0x3C, bytes, rounds, elapsed_us), 0);
    EXPECT_EQ(elapsed_us, -1);
    bus.half_period_us = 50;
    EXPECT_EQ(bus.pumpOut(0x3C, 300, 1, elapsed_us), 0);
    EXPECT_EQ(bus.slave.take(), block + " P");
    const double waited_us = 301 * 18 * 50.0;
    EXPECT_NEAR(static_cast<double>(elapsed_us), waited_us, 20'000) << "two ticks of the clock";
    bus.slave.room = 2;
    EXPECT_EQ(bus.pumpOut(0x3C, 1, 5, elapsed_us), -8646);
    EXPECT_EQ(bus.slave.take(), "S w c3 P S w c3 P S w c3! P");
}
