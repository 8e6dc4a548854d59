#include "hw/cpld.h"

#include <array>
#include <memory>

namespace {

// MymainCPLD_0x01_0x06
constexpr int offsetLines = 4;
constexpr std::uint8_t lineSda = 0x01;
constexpr std::uint8_t linesIdle = 0x03;

// MymainCPLD_0x01_0x08
constexpr int offsetEngine = 5;
constexpr int offsetTransmit = 6;
constexpr int offsetReceive = 7;
constexpr std::uint8_t engineBegin = 2;
constexpr std::uint8_t engineLast = 1;
constexpr std::uint8_t engineTransmitterBusy = 0x80;
constexpr std::uint8_t engineReceiverNotReady = 0x20;

// MymainCPLD_0x01_0x09
constexpr int offsetLink = 4;
constexpr int offsetBlink = 7;
constexpr std::uint8_t linkBusy = 0x80;

// MymainCPLD_0x02_0x01
constexpr int offsetSwitches = 0x0B;
constexpr int offsetWatchdog = 0x0C;
constexpr int boostBit = 0;
constexpr int phantomBit = 4;
constexpr int switchedChannels = 4;

} // namespace

CHfplinkK4* MymainCPLD_0x01_0x06::initSerialLink() {
    ports_.out(offsetLines, linesIdle);
    init();
    return this;
}

void MymainCPLD_0x01_0x06::blink(unsigned char pattern) { send({messageBlink, pattern}); }

std::uint32_t MymainCPLD_0x01_0x06::keyStatus() {
    std::array<std::uint8_t, 4> bytes;
    bytes.fill(portAbsent);
    query(messageKeys, bytes.data(), bytes.size());
    std::uint32_t word = 0;
    for (std::size_t index = 0; index < bytes.size(); ++index)
        word |= std::uint32_t{bytes[index]} << 8 * index;
    return word;
}

void MymainCPLD_0x01_0x06::putI2C(int scl, int sda) {
    ports_.out(offsetLines, static_cast<std::uint8_t>(scl << 1 | (sda & 1)));
}

int MymainCPLD_0x01_0x06::getI2C(bool) { return lineSda & ports_.in(offsetLines); }

int MymainCPLD_0x01_0x08::writeBlock(int addr, const void* data, int len) {
    if (!isTransfer(addr, data, len)) return errorEngineArguments;
    const auto* bytes = static_cast<const std::uint8_t*>(data);
    waitSent();
    begin(addr * 2);
    waitSent();
    for (int i = 0; i < len - 1; ++i) {
        ports_.out(offsetTransmit, bytes[i]);
        waitSent();
    }
    ports_.out(offsetEngine, engineLast);
    ports_.out(offsetTransmit, bytes[len - 1]);
    return 0;
}

int MymainCPLD_0x01_0x08::readBlock(int addr, void* data, int len) {
    if (!isTransfer(addr, data, len)) return errorEngineArguments;
    auto* bytes = static_cast<std::uint8_t*>(data);
    static_cast<void>(ports_.in(offsetEngine));
    begin(addr * 2 + iicReadFlag);
    for (int i = 0; i < len - 1; ++i) {
        waitReceived();
        bytes[i] = ports_.in(offsetReceive);
    }
    waitReceived();
    ports_.out(offsetEngine, engineLast);
    bytes[len - 1] = ports_.in(offsetReceive);
    return 0;
}

void MymainCPLD_0x01_0x08::begin(int addressByte) const {
    ports_.out(offsetEngine, engineBegin);
    ports_.out(offsetTransmit, static_cast<std::uint8_t>(addressByte));
}

void MymainCPLD_0x01_0x08::waitSent() const {
    ports_.waitClear(offsetEngine, engineTransmitterBusy);
}

void MymainCPLD_0x01_0x08::waitReceived() const {
    ports_.waitClear(offsetEngine, engineReceiverNotReady);
}

CHfplinkK4* MymainCPLD_0x01_0x09::initSerialLink() {
    auto link = std::make_unique<Myfplink_hss>(ports_.base);
    link->init();
    return link.release();
}

void MymainCPLD_0x01_0x09::blink(unsigned char pattern) {
    ports_.waitClear(offsetLink, linkBusy);
    ports_.out(offsetBlink, pattern);
}

int MymainCPLD_0x02_0x01::micboost(int channel, bool on) const {
    return setSwitch(boostBit, channel, on);
}

int MymainCPLD_0x02_0x01::phantom(int channel, bool on) const {
    return setSwitch(phantomBit, channel, on);
}

void MymainCPLD_0x02_0x01::watchdog(unsigned int value) const {
    ports_.out(offsetWatchdog, static_cast<std::uint8_t>(value));
}

// A channel too high would reach the switches of the other kind.
int MymainCPLD_0x02_0x01::setSwitch(int firstBit, int channel, bool on) const {
    if (channel < 0 || channel >= switchedChannels) return errorNoSuchChannel;
    const int bit = firstBit + channel;
    const int others = ports_.in(offsetSwitches) & ~(1 << bit);
    ports_.out(offsetSwitches, static_cast<std::uint8_t>(others | on << bit));
    return 0;
}

CHfplinkK4* MymainCPLD_fake::initSerialLink() { return new Myfplink_fake; }
