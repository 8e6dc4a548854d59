#include "hw/cpld.h"

#include <array>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "i2c_wire.h"
#include "recorded_ports.h"

namespace {

constexpr std::uint16_t base = 0x0A00;

/** The line register of the CPLD with the panel's wire behind it; unused bits read 1. */
class WirePorts : public k4sim::PortSpace {
public:
    I2cWire wire;
    std::string elsewhere;

    WirePorts() { wire.acknowledged = {0x78, 0x79}; }

    std::uint8_t in(std::uint16_t port) override {
        note(port);
        return static_cast<std::uint8_t>(0xFE | wire.level());
    }
    void out(std::uint16_t port, std::uint8_t value) override {
        note(port);
        EXPECT_EQ(value & ~3, 0);
        wire.set(value >> 1 & 1, value & 1);
    }

private:
    void note(std::uint16_t port) {
        if (port != base + 4) elsewhere += "access outside the line register ";
    }
};

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
        RecordedPorts ports(base);
        const AttachedPorts attached(ports);
        for (const auto& [offset, values] : operation.answers)
            ports.answer(static_cast<std::uint16_t>(base + offset), values);
        Driver driver(base);
        operation.run(driver);
        EXPECT_EQ(ports.take(), operation.accesses) << operation.name;
    }
}

void useSwitches(const CHCPLDinterface_k4& driver) {
    EXPECT_EQ(driver.micboost(0, true), 0);
    EXPECT_EQ(driver.phantom(3, true), 0);
    driver.watchdog(1);
}

} // namespace

TEST(Cpld_0x01_0x06, line_register) {
    using Driver = MymainCPLD_0x01_0x06;
    check<Driver>({
        {"SDA released", [](Driver& driver) { driver.putI2C(0, 1); }, {}, "w4=01"},
        {"SCL released", [](Driver& driver) { driver.putI2C(1, 0); }, {}, "w4=02"},
        {"SDA low", [](Driver& driver) { EXPECT_EQ(driver.getI2C(true), 0); }, {{4, {0xFE}}}, "r4"},
        {"no switches", [](Driver& driver) { useSwitches(driver); }, {}, ""},
    });
}

TEST(Cpld_0x01_0x06, is_its_own_link_and_speaks_i2c) {
    WirePorts ports;
    const AttachedPorts attached(ports);
    ports.wire.set(1, 0); // a line left low by whoever came before
    ports.wire.take();
    ports.wire.answers = {0x3C, 0x08, 0x11, 0x22, 0x83, 0x94};
    MymainCPLD_0x01_0x06 driver(base);
    EXPECT_EQ(driver.initSerialLink(), &driver);
    EXPECT_EQ(ports.wire.take(), "P! S 78+ 00+ P S 79+ 3c- P S 78+ 01+ P S 79+ 08- P");
    EXPECT_EQ(driver.panelType, 0x3C);
    EXPECT_EQ(driver.panelVersion, 8);
    EXPECT_EQ(driver.keyStatus(), 0x94832211U);
    EXPECT_EQ(ports.wire.take(), "S 78+ 40+ P S 79+ 11+ 22+ 83+ 94- P");
    driver.blink(0xA5);
    EXPECT_EQ(ports.wire.take(), "S 78+ 50+ a5+ P");
    EXPECT_EQ(ports.elsewhere, "");
}

TEST(Cpld_0x01_0x06, key_word_is_invalid_without_an_answer) {
    constexpr std::uint32_t invalidBit = 1U << 30;
    WirePorts ports;
    const AttachedPorts attached(ports);
    MymainCPLD_0x01_0x06 driver(base);
    ports.wire.acknowledged = {0x78};
    EXPECT_NE(driver.keyStatus() & invalidBit, 0U) << "read not acknowledged";
    ports.wire.acknowledged = {};
    EXPECT_NE(driver.keyStatus() & invalidBit, 0U) << "write not acknowledged";
}

TEST(Cpld_0x01_0x08, transfers) {
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
    });
}

TEST(Cpld_0x01_0x08, bad_arguments_touch_no_port) {
    RecordedPorts ports(base);
    const AttachedPorts attached(ports);
    MymainCPLD_0x01_0x08 driver(base);
    std::uint8_t byte = 0;
    std::uint8_t* const data = &byte;
    for (const auto& [addr, block, length] : {std::tuple{128, data, 1},
                                              {-1, data, 1},
                                              {0x3C, data, 0},
                                              {0x3C, data, -1},
                                              {0x3C, static_cast<std::uint8_t*>(nullptr), 1}}) {
        EXPECT_EQ(driver.writeBlock(addr, block, length), -49996);
        EXPECT_EQ(driver.readBlock(addr, block, length), -49996);
    }
    EXPECT_EQ(ports.take(), "");
}

TEST(Cpld_0x01_0x08, panel_messages_use_the_engine) {
    using Driver = MymainCPLD_0x01_0x08;
    check<Driver>({
        {"blink",
         [](Driver& driver) { driver.blink(0x33); },
         {{5, {0}}},
         "r5 w5=02 w6=78 r5 w6=50 r5 w5=01 w6=33"},
        {"key query",
         [](Driver& driver) { EXPECT_EQ(driver.keyStatus(), 0x04030201U); },
         {{5, {0}}, {7, {1, 2, 3, 4}}},
         "r5 w5=02 w6=78 r5 w5=01 w6=40 r5 w5=02 w6=79 r5 r7 r5 r7 r5 r7 r5 w5=01 r7"},
    });
}

TEST(Cpld_0x01_0x09, operations) {
    using Driver = MymainCPLD_0x01_0x09;
    check<Driver>({
        {"link",
         [](Driver& driver) {
             const std::unique_ptr<CHfplinkK4> link(driver.initSerialLink());
             EXPECT_NE(dynamic_cast<Myfplink_hss*>(link.get()), nullptr);
             EXPECT_EQ(link->panelType, 0x3C);
             EXPECT_EQ(link->panelVersion, 7);
             link->put_data(static_cast<unsigned char>(0x44));
         },
         {{4, {0}}, {5, {0x3C}}, {6, {7}}},
         "w4=01 r5 r6 r4 w5=44"},
        {"blink",
         [](Driver& driver) { driver.blink(0x0F); },
         {{4, {0x80, 0xFF, 0x7F}}},
         "r4 r4 r4 w7=0f"},
        {"no switches", [](Driver& driver) { useSwitches(driver); }, {}, ""},
    });
}

TEST(Cpld_0x02_0x01, switches_change_their_bit_only) {
    for (int number = 0; number < 8; ++number) { // boosts, then phantom powers
        for (const int before : {0x00, 0xFF, 0x5A, 0xA5}) {
            for (const bool on : {true, false}) {
                RecordedPorts ports(base);
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

TEST(Cpld_0x02_0x01, watchdog_blink_and_link) {
    using Driver = MymainCPLD_0x02_0x01;
    check<Driver>({
        {"watchdog", [](Driver& driver) { driver.watchdog(0x1FE); }, {}, "wc=fe"},
        {"link",
         [](Driver& driver) { const std::unique_ptr<CHfplinkK4> link(driver.initSerialLink()); },
         {},
         "w4=01 r5 r6"},
    });
}
