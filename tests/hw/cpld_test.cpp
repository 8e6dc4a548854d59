#include "hw/cpld.h"

#include <array>
#include <functional>
#include <string>
#include <vector>

#include "support/ports.h"

namespace {

constexpr std::uint16_t base = 0x0A00;

/** One operation of a driver with the reads that it meets and the accesses that it makes. */
template <class Driver>
struct Operation {
    const char* name;
    std::function<void(Driver&)> run;
    std::map<int, std::deque<std::uint8_t>> answers;
    const char* accesses;
};

template <class Driver>
void check(const std::vector<Operation<Driver>>& operations) {
    for (const Operation<Driver>& operation : operations) {
        ScriptedPorts ports(base);
        const AttachedPorts attached(ports);
        for (const auto& [offset, values] : operation.answers)
            ports.answer(static_cast<std::uint16_t>(base + offset), values);
        Driver driver(base);
        operation.run(driver);
        EXPECT_EQ(ports.take(), operation.accesses) << operation.name;
    }
}

} // namespace

TEST(Cpld_0x01_0x06, LineRegister) {
    using Driver = MymainCPLD_0x01_0x06;
    check<Driver>({
        {"SDA released", [](Driver& driver) { driver.putI2C(0, 1); }, {}, "w4=01"},
        {"SCL released", [](Driver& driver) { driver.putI2C(1, 0); }, {}, "w4=02"},
        {"bit 0 of SDA", [](Driver& driver) { driver.putI2C(0, 0xFE); }, {}, "w4=00"},
        {"SDA low", [](Driver& driver) { EXPECT_EQ(driver.getI2C(true), 0); }, {{4, {0xFE}}}, "r4"},
        {"no switches",
         [](Driver& driver) {
             EXPECT_EQ(driver.micboost(0, true), 0);
             EXPECT_EQ(driver.phantom(3, true), 0);
             driver.watchdog(1);
         },
         {},
         ""},
    });
}

TEST(Cpld_0x01_0x06, LinkBeginsWithIdleLinesAndNoAnswerIsNoKeyWord) {
    ScriptedPorts ports(base); // SDA stays high: nothing is acknowledged
    const AttachedPorts attached(ports);
    MymainCPLD_0x01_0x06 driver(base);
    EXPECT_EQ(driver.initSerialLink(), &driver);
    EXPECT_TRUE(ports.take().starts_with("w4=03 "));
    EXPECT_EQ(driver.keyStatus(), 0xFFFFFFFFU);
}

TEST(Cpld_0x01_0x08, Transfers) {
    using Driver = MymainCPLD_0x01_0x08;
    static const std::array<std::uint8_t, 3> sent = {0xA1, 0xB2, 0xC3};
    const auto write = [](int length) {
        return [length](Driver& driver) {
            EXPECT_EQ(driver.writeBlock(0x3C, sent.data(), length), 0);
        };
    };
    const auto read = [](int length) {
        return [length](Driver& driver) {
            std::array<std::uint8_t, 4> received{};
            EXPECT_EQ(driver.readBlock(0x3C, received.data(), length), 0);
            const std::array<std::uint8_t, 4> expected = {0x91, 0x92, 0x93, 0};
            for (int i = 0; i < 4; ++i)
                EXPECT_EQ(received[i], i < length ? expected[i] : 0);
        };
    };
    check<Driver>({
        {"write of three bytes",
         write(3),
         {{5, {0x7F}}},
         "r5 w5=02 w6=78 r5 w6=a1 r5 w6=b2 r5 w5=01 w6=c3"},
        {"write while the transmitter is busy",
         write(2),
         {{5, {0x80, 0x00, 0xFF, 0x80, 0x20, 0xA0, 0x00}}},
         "r5 r5 w5=02 w6=78 r5 r5 r5 w6=a1 r5 r5 w5=01 w6=b2"},
        {"read of one byte",
         read(1),
         {{5, {0xFF, 0xDF}}, {7, {0x91}}},
         "r5 w5=02 w6=79 r5 w5=01 r7"},
        {"read of three bytes, the second one late",
         read(3),
         {{5, {0x00, 0x00, 0x20, 0xFF, 0x80, 0x5F}}, {7, {0x91, 0x92, 0x93}}},
         "r5 w5=02 w6=79 r5 r7 r5 r5 r5 r7 r5 w5=01 r7"},
        {"bad arguments",
         [](Driver& driver) {
             std::uint8_t byte = 0;
             EXPECT_EQ(driver.writeBlock(0x3C, nullptr, 1), -49996);
             EXPECT_EQ(driver.readBlock(128, &byte, 1), -49996);
         },
         {},
         ""},
    });
}

TEST(Cpld_0x01_0x09, BlinkWaitsForTheLink) {
    check<MymainCPLD_0x01_0x09>({{"blink",
                                  [](MymainCPLD_0x01_0x09& driver) { driver.blink(0x0F); },
                                  {{4, {0x80, 0xFF, 0x7F}}},
                                  "r4 r4 r4 w7=0f"}});
}

TEST(Cpld_0x02_0x01, SwitchesChangeTheirBitOnly) {
    for (int number = 0; number < 8; ++number) { // boosts, then phantom powers
        for (const int before : {0x00, 0xFF, 0x5A, 0xA5}) {
            for (const bool on : {true, false}) {
                ScriptedPorts ports(base);
                const AttachedPorts attached(ports);
                ports.answer(base + 0x0B, {static_cast<std::uint8_t>(before)});
                const MymainCPLD_0x02_0x01 driver(base);
                EXPECT_EQ(number < 4 ? driver.micboost(number, on) : driver.phantom(number - 4, on),
                          0);
                char expected[16];
                std::snprintf(expected, sizeof expected, "rb wb=%02x",
                              on ? before | 1 << number : before & ~(1 << number) & 0xFF);
                EXPECT_EQ(ports.take(), expected);
            }
        }
    }
}
