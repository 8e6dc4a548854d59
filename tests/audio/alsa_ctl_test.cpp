#include "audio/alsa_ctl.h"

#include "audio/kestra_alsactl.h"
#include "sim/machine/machine.h"
#include "sim/models/device.h"

#include <cerrno>
#include <gtest/gtest.h>

namespace {

constexpr const char* transmitterRate = "IEC958 Playback TXC SPdif";
constexpr const char* receiverStatus = "IEC958 Capture RXP Status";
constexpr const char* channelStatus = "IEC958 Playback TXC Channel";
constexpr int anyIndex = KLlinuxALSActl::anyIndex;

// The digital line of the virtual device, under the stock names of ALSA.
class AlsaCtl : public testing::Test {
protected:
    AlsaCtl() {
        k4sim::machine().reset();
        testing::internal::CaptureStderr();
    }
    ~AlsaCtl() override {
        EXPECT_EQ(testing::internal::GetCapturedStderr(), ""); // nothing of ALSA's
        k4sim::machine().reset();
    }

    int write(const char* name, int value, int index = anyIndex) {
        KLTctlRecord record;
        record.integer(0, value);
        return card.set(record, name, KLTctlKind::integers, index);
    }

    KLlinuxALSActl card;
};

TEST_F(AlsaCtl, OpensTheCardOfADevice) {
    EXPECT_EQ(card.open("hw:0,1"), 0);
    EXPECT_TRUE(card.isOpen());
    EXPECT_EQ(card.open("hw:0"), 0);
    EXPECT_EQ(card.open(""), -EINVAL);
    EXPECT_EQ(card.open(nullptr), -EINVAL);
    EXPECT_FALSE(card.isOpen());
    EXPECT_LT(card.open("hw:1,1"), 0);
    EXPECT_LT(card.open("nosuchcard"), 0);
    k4sim::machine().device().sound_card().remove();
    EXPECT_LT(card.open("hw:0,1"), 0);
    EXPECT_FALSE(card.isOpen());
}

TEST_F(AlsaCtl, WritesAndReadsByName) {
    // Named without its device an element is found by name alone.
    for (const char* name : {"hw:0,1", "hw:0", "hw:0,7"}) {
        ASSERT_EQ(card.open(name), 0);
        EXPECT_EQ(write(transmitterRate, 0x80), 0) << name;
        EXPECT_EQ(write(transmitterRate, 0x80, 0), 0) << "an equal write";
        KLTctlRecord record;
        EXPECT_EQ(card.get(record, transmitterRate, KLTctlKind::integers), 0);
        EXPECT_EQ(record.integer(0), 0x80);
    }
    KLTctlRecord sent;
    sent.bytes[0] = 0xC1;
    sent.bytes[3] = 0x02;
    EXPECT_EQ(card.set(sent, channelStatus, KLTctlKind::bytes, anyIndex), 0);
    KLTctlRecord record;
    EXPECT_EQ(card.get(record, channelStatus, KLTctlKind::bytes), 0);
    EXPECT_EQ(record.kind, KLTctlKind::bytes);
    EXPECT_EQ(record.bytes, sent.bytes);
}

TEST_F(AlsaCtl, TellsWhyItCannot) {
    KLTctlRecord record;
    record.integer(0, 77);
    EXPECT_EQ(card.get(record, receiverStatus, KLTctlKind::integers), -ENODEV);
    EXPECT_EQ(write(transmitterRate, 1), -ENODEV);
    ASSERT_EQ(card.open("hw:0,1"), 0);
    EXPECT_EQ(card.get(record, "No Such Element", KLTctlKind::integers), -ENOENT);
    EXPECT_EQ(card.get(record, receiverStatus, KLTctlKind::bytes), -EINVAL);
    EXPECT_EQ(card.get(record, channelStatus, KLTctlKind::integers), -EINVAL);
    EXPECT_EQ(record.integer(0), 77);
    EXPECT_EQ(write(transmitterRate, 1, 1), -ENOENT);
    EXPECT_EQ(write(receiverStatus, 1), KLlinuxALSActl::writeIgnored);
}

// A set() that programs nothing leaves the card open.
TEST_F(AlsaCtl, InitIsRefusedUnlessOpen) {
    KLkestraALSActl control;
    EXPECT_EQ(control.init(), -1);
    EXPECT_EQ(control.set(0, 0, false), -1);
    EXPECT_TRUE(control.isOpen());
    EXPECT_EQ(control.init(), 0);
}

} // namespace
