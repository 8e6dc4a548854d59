#include "hw/fplink.h"

#include "i2c_wire.h"
#include "support/ports.h"

namespace {

/** The I2C link on a decoded wire. */
class WireLink : public CHfplink_i2c_base {
public:
    I2cWire wire;

    WireLink() { wire.acknowledged = {0x78, 0x79}; }
    void putI2C(int scl, int sda) override { wire.set(scl, sda); }
    int getI2C(bool) override { return wire.level(); }
    std::uint32_t keyStatus() override { return 0; }
};

struct Message {
    const char* name;
    void (*send)(CHfplinkK4& link);
    const char* onI2c;
    const char* onHss;
};

constexpr Message messages[] = {
    {"command of 8 bits", [](CHfplinkK4& link) { link.put_cmd(static_cast<unsigned char>(0xAF)); },
     "S 78+ 10+ af+ P", "r4 w6=af"},
    {"command of 16 bits",
     [](CHfplinkK4& link) { link.put_cmd(static_cast<unsigned short>(0x1234)); },
     "S 78+ 10+ 34+ 12+ P", "r4 w6=34 r4 w6=12"},
    {"command of 32 bits", [](CHfplinkK4& link) { link.put_cmd(0x81223344U); },
     "S 78+ 10+ 81+ 22+ 33+ 44+ P", "r4 w6=81 r4 w6=22 r4 w6=33 r4 w6=44"},
    {"data of 8 bits", [](CHfplinkK4& link) { link.put_data(static_cast<unsigned char>(0xF0)); },
     "S 78+ 20+ f0+ P", "r4 w5=f0"},
    {"data of 32 bits", [](CHfplinkK4& link) { link.put_data(0x11223344U); },
     "S 78+ 20+ 11+ 22+ 33+ 44+ P", "r4 w5=11 r4 w5=22 r4 w5=33 r4 w5=44"},
};

constexpr std::uint16_t base = 0x0A00;

} // namespace

TEST(I2cLink, Messages) {
    for (const Message& message : messages) {
        WireLink link;
        message.send(link);
        EXPECT_EQ(link.wire.take(), message.onI2c) << message.name;
    }
}

TEST(I2cLink, InitReadsTypeAndVersion) {
    WireLink link;
    EXPECT_EQ(link.panelType, 0);
    EXPECT_EQ(link.panelVersion, 0);
    link.wire.answers = {0x3D, 9};
    link.init();
    EXPECT_EQ(link.wire.take(), "S 78+ 00+ P S 79+ 3d- P S 78+ 01+ P S 79+ 09- P");
    EXPECT_EQ(link.panelType, 0x3D);
    EXPECT_EQ(link.panelVersion, 9);

    link.wire.acknowledged.clear();
    link.init();
    EXPECT_EQ(link.panelType, 0x3D) << "no answer leaves it alone";
    EXPECT_EQ(link.panelVersion, 9);
}

TEST(I2cLink, ErrorsOfMessagesGoUnreportedAndLaterMessagesAreSent) {
    WireLink link;
    link.wire.acknowledged.clear();
    for (const Message& message : messages)
        message.send(link);
    EXPECT_EQ(link.wire.take(), "S 78- P S 78- P S 78- P S 78- P S 78- P");
}

TEST(I2cLink, WritePassesARawBlockToAnyAddress) {
    WireLink link;
    link.wire.acknowledged = {0x46};
    const std::uint8_t block[] = {0xDE, 0xAD};
    EXPECT_EQ(link.write(0x23, block, 2), 0);
    EXPECT_EQ(link.wire.take(), "S 46+ de+ ad+ P");
    EXPECT_EQ(link.write(0x24, block, 2), -8648);
    EXPECT_EQ(link.write(0x80, block, 2), -8649);
}

TEST(HssLink, MessagesWaitWhileBit7IsSet) {
    ScriptedPorts ports(base);
    const AttachedPorts attached(ports);
    ports.answer(base + 4, {0x80, 0xFF, 0x7F});
    Myfplink_hss link(base);
    link.put_cmd(static_cast<unsigned char>(0x15));
    EXPECT_EQ(ports.take(), "r4 r4 r4 w6=15");
    for (const Message& message : messages) {
        message.send(link);
        EXPECT_EQ(ports.take(), message.onHss) << message.name;
    }
}

TEST(HssLink, ReadsTypeVersionAndKeysAndWritesNoBlock) {
    ScriptedPorts ports(base);
    const AttachedPorts attached(ports);
    constexpr std::uint8_t registers[] = {0x3C, 7, 0x11, 0x22, 0x83, 0x94};
    for (std::uint16_t i = 0; i < 6; ++i)
        ports.answer(static_cast<std::uint16_t>(base + 5 + i), {registers[i]});
    Myfplink_hss link(base);
    link.init();
    EXPECT_EQ(link.panelType, 0x3C);
    EXPECT_EQ(link.panelVersion, 7);
    EXPECT_EQ(link.keyStatus(), 0x94832211U);
    EXPECT_EQ(ports.take(), "w4=01 r5 r6 r7 r8 r9 ra");
    EXPECT_EQ(link.write(0x3C, &link, 1), -1);
    EXPECT_EQ(ports.take(), "");
}

TEST(FakeLink, DoesNothing) {
    ScriptedPorts ports(base);
    const AttachedPorts attached(ports);
    Myfplink_fake link;
    link.init();
    for (const Message& message : messages)
        message.send(link);
    EXPECT_EQ(link.panelType, 0);
    EXPECT_EQ(link.panelVersion, 0);
    EXPECT_EQ(link.keyStatus(), 0U);
    EXPECT_EQ(link.write(0x3C, &link, 1), -1);
    EXPECT_EQ(ports.take(), "");
}
