#include "hw/k4parallel.h"

#include "support/ports.h"

namespace {

constexpr int base = 0xD000;

TEST(K4Parallel, WritesWaitsAndReadsTwice) {
    ScriptedPorts ports;
    const AttachedPorts attached(ports);
    ports.answer(base + 3, {0x11, 0x22});
    K4parallel port(base);
    const k4sim::Microseconds begin = k4sim::machine().now();
    EXPECT_EQ(port.outNin(0xFFFFFFA5), 0x22U);
    EXPECT_EQ(ports.take(), "w2=a5 w@0080=a5 r3 w@0080=11 r3 w@0080=22");
    EXPECT_EQ(k4sim::machine().now() - begin, 10'000 + 6 * k4sim::access_us);
}

TEST(K4Parallel, PutsOutEachPatternOfEachLine) {
    ScriptedPorts ports;
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

} // namespace
