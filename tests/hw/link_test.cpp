// What the CPLD drivers, the links to the panel and the parallel port do to ports and lines.
#include "hw/cpld.h"
#include "hw/k4parallel.h"

#include <gtest/gtest.h>
#include <regex>
#include <tuple>
#include <vector>

#include "i2c_stage.h"
#include "support/ports.h"

namespace {

constexpr std::uint16_t base = 0x0A00;

using Block = std::vector<std::uint8_t>;
using Engine = MymainCPLD_0x01_0x08;
using Lines = MymainCPLD_0x01_0x06;
using Switches = MymainCPLD_0x02_0x01;

const std::tuple<void (*)(CHfplinkK4&), bool, std::string> messages[] = {
    {[](auto& link) { link.put_cmd(static_cast<unsigned char>(0xAF)); }, false, " af"},
    {[](auto& link) { link.put_cmd(static_cast<unsigned short>(0x1234)); }, false, " 34 12"},
    {[](auto& link) { link.put_cmd(0x81223344U); }, false, " 81 22 33 44"},
    {[](auto& link) { link.put_data(static_cast<unsigned char>(0xF0)); }, true, " f0"},
    {[](auto& link) { link.put_data(0x11223344U); }, true, " 11 22 33 44"},
};

void write_engine(const Block& sent) {
    EXPECT_EQ(Engine(base).writeBlock(0x3C, sent.data(), static_cast<int>(sent.size())), 0);
}

void read_engine(const Block& expected) {
    Block received(expected.size());
    EXPECT_EQ(Engine(base).readBlock(0x3C, received.data(), static_cast<int>(received.size())), 0);
    EXPECT_EQ(received, expected);
}

} // namespace

TEST(Links, SendTheMessagesOfThePanel) {
    ScriptedPorts ports(base, [](std::uint16_t) { return 0; });
    const AttachedPorts attached(ports);
    OnLines<Lines> i2c(0x3C, base);
    OnLines<Lines> unanswered(0x20, base);
    Myfplink_hss hss(base);
    Myfplink_fake fake;
    for (const auto& [send, is_data, bytes] : messages) {
        send(i2c);
        EXPECT_EQ(i2c.slave.take(), (is_data ? "S w 20" : "S w 10") + bytes + " P");
        send(unanswered);
        EXPECT_EQ(unanswered.slave.take(), "S P") << "and goes on";
        send(hss);
        EXPECT_EQ(" " + ports.take(), std::regex_replace(bytes, std::regex(" (..)"),
                                                         is_data ? " r4 w5=$1" : " r4 w6=$1"));
        send(fake);
    }
    const std::uint8_t block[] = {0xDE, 0xAD};
    EXPECT_EQ(unanswered.write(0x20, block, 2), 0);
    EXPECT_EQ(unanswered.slave.take(), "S w de ad P");
    EXPECT_EQ(unanswered.write(0x21, block, 2), -8648);
    EXPECT_TRUE(hss.write(0x3C, block, 2) == -1 && fake.write(0x3C, block, 2) == -1);
    EXPECT_EQ(fake.keyStatus(), 0U);
    EXPECT_EQ(ports.take(), "");
}

TEST(Links, OverI2cAskThePanelAndTakeNoAnswerForNone) {
    ScriptedPorts ports(base);
    const AttachedPorts attached(ports);
    OnLines<Lines> link(0x3C, base);
    link.slave.answers = {0x3D, 9, 0x11, 0x22, 0x83, 0x94};
    EXPECT_EQ(link.initSerialLink(), &link);
    EXPECT_EQ(ports.take(), "w4=03") << "idle lines at first";
    EXPECT_EQ(link.keyStatus(), 0x94832211U);
    link.blink(0xA5);
    EXPECT_EQ(link.slave.take(), "S w 00 P S r 3d P S w 01 P S r 09 P "
                                 "S w 40 P S r 11 22 83 94 P S w 50 a5 P");
    link.slave.is_readable = false;
    link.init();
    EXPECT_TRUE(link.panelType == 0x3D && link.panelVersion == 9);
    EXPECT_EQ(link.keyStatus(), 0xFFFFFFFFU);
}

// The accesses that an operation makes, and what its reads find.
TEST(Registers, AreUsedInTheRightOrder) {
    const std::pair<void (*)(), std::string> operations[] = {
        {[] { Lines(base).putI2C(0, 1); }, "w4=01"},
        {[] { Lines(base).putI2C(1, 0); }, "w4=02"},
        {[] { Lines(base).putI2C(0, 0xFE); }, "w4=00"},
        {[] { EXPECT_EQ(Lines(base).getI2C(true), 0); }, "r4=fe"},
        {[] {
             write_engine({0xA1, 0xB2, 0xC3});
         },
         "r5=80 r5=7f w5=02 w6=78 r5=ff r5=80 r5=20 w6=a1 r5=00 w6=b2 r5=a0 r5=00 w5=01 w6=c3"},
        {[] { read_engine({0x91}); }, "r5=ff w5=02 w6=79 r5=df w5=01 r7=91"},
        {[] {
             read_engine({0x91, 0x92, 0x93});
         },
         "r5=00 w5=02 w6=79 r5=00 r7=91 r5=20 r5=ff r5=80 r7=92 r5=5f w5=01 r7=93"},
        {[] { EXPECT_EQ(Engine(base).writeBlock(0x3C, nullptr, 1), -49996); }, ""},
        {[] { EXPECT_EQ(Engine(base).readBlock(0x3C, nullptr, 1), -49996); }, ""},
        {[] { MymainCPLD_0x01_0x09(base).blink(0x0F); }, "r4=80 r4=ff r4=7f w7=0f"},
        {[] { EXPECT_EQ(Switches(base).micboost(0, true), 0); }, "rb=5a wb=5b"},
        {[] { EXPECT_EQ(Switches(base).micboost(3, false), 0); }, "rb=ff wb=f7"},
        {[] { EXPECT_EQ(Switches(base).phantom(0, false), 0); }, "rb=a5 wb=a5"},
        {[] { EXPECT_EQ(Switches(base).phantom(3, true), 0); }, "rb=5a wb=da"},
        {[] { EXPECT_EQ(Switches(base).micboost(4, true), -49996); }, ""},
        {[] { EXPECT_EQ(Switches(base).phantom(-1, true), -49996); }, ""},
        {[] { Switches(base).watchdog(0x107); }, "wc=07"},
        {[] { Myfplink_hss(base).put_data(static_cast<unsigned char>(0x15)); },
         "r4=80 r4=ff r4=7f w5=15"},
        {[] { EXPECT_EQ(K4parallel(base).outNin(0xFFFFFFA5), 0x22U); },
         "w2=a5 w@0080=a5 r3=11 w@0080=11 r3=22 w@0080=22"},
    };
    for (const auto& [run, accesses] : operations) {
        std::map<int, std::deque<std::uint8_t>> answers;
        const std::regex read("r(.)=(..)");
        for (auto it = std::sregex_iterator(accesses.begin(), accesses.end(), read);
             it != std::sregex_iterator(); ++it)
            answers[std::stoi((*it)[1], nullptr, 16)].push_back(std::stoi((*it)[2], nullptr, 16));
        ScriptedPorts ports(base);
        for (const auto& [offset, values] : answers)
            ports.answer(base + offset, values);
        const AttachedPorts attached(ports);
        run();
        EXPECT_EQ(ports.take(), std::regex_replace(accesses, read, "r$1"));
    }
}
