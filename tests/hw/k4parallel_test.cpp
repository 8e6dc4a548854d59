#include "hw/k4parallel.h"

#include "recorded_ports.h"

namespace {

constexpr int base = 0xD000;

TEST(K4Parallel, WritesWaitsAndReadsTwice) {
    RecordedPorts ports;
    const AttachedPorts attached(ports);
    ports.answer(base + 3, {0x11, 0x22});
    K4parallel port(base);
    const k4sim::Microseconds begin = k4sim::machine().now();
    EXPECT_EQ(port.outNin(0xFFFFFFA5), 0x22U);
    EXPECT_EQ(ports.take(), "w2=a5 w@0080=a5 r3 w@0080=11 r3 w@0080=22");
    EXPECT_EQ(k4sim::machine().now() - begin, 10'000 + 6 * k4sim::access_us);
}

TEST(K4Parallel, RegistersCountFromTheBase) {
    RecordedPorts ports(0x0A00);
    const AttachedPorts attached(ports);
    ports.answer(0x0A00, {2});
    ports.answer(0x0A01, {9});
    const K4parallel port(0x0A00);
    EXPECT_EQ(port.readReg(0), 2);
    EXPECT_EQ(port.readReg(1), 9);
    EXPECT_EQ(ports.take(), "r0 w@0080=02 r1 w@0080=09");
}

TEST(K4Parallel, PutsOutEachPatternOfEachLine) {
    RecordedPorts ports;
    const AttachedPorts attached(ports);
    K4parallel port(base);
    port.test(8);
    std::string expected;
    const auto exchange = [&expected](unsigned int value) {
        char text[64];
        std::snprintf(text, sizeof text, "w2=%02x w@0080=%02x r3 w@0080=ff r3 w@0080=ff ", value,
                      value);
        expected += text;
    };
    for (unsigned int bit = 1; bit <= 0x80; bit *= 2)
        for (const unsigned int value : {0U, 0xFF - bit, bit, 0xFFU})
            exchange(value);
    exchange(0);
    EXPECT_EQ(ports.take() + " ", expected);
}

TEST(K4Parallel, WithoutPrivilegeEverythingIsAbsent) {
    RecordedPorts ports;
    const AttachedPorts attached(ports);
    k4sim::machine().set_privilege_refused(true);
    K4parallel port(base);
    EXPECT_EQ(port.readReg(0), 0xFF);
    EXPECT_EQ(port.outNin(0), 0xFFU);
    EXPECT_EQ(ports.take(), "");
    k4sim::machine().set_privilege_refused(false);
}

} // namespace
