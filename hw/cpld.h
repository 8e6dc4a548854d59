#pragma once

#include "hw/fplink.h"
#include "hw/ports.h"

#include <cstdint>

// What the mainboard CPLD offers in every generation. The concrete drivers are named after
// the CPLD ID and the first CPLD version that they serve; each is made with the base port
// at which the CPLD answered. One thread at a time may use a driver.
class CHCPLDinterface_k4 {
public:
    // Makes the front-panel link that belongs to this CPLD and reads panel type and version
    // over it. The caller owns the link; but the I2C drivers hand out themselves, so that
    // deleting the link deletes the driver.
    virtual CHfplinkK4* initSerialLink() = 0;

    // Writes the blink pattern of the front-panel LED.
    virtual void blink(unsigned char pattern) = 0;

    // Switch the microphone boost or the phantom power of an analog input, 0..3. Return 0,
    // also where the CPLD has no such switch; then nothing happens. errorNoSuchChannel, and
    // nothing happens, for another channel where it has them.
    static constexpr int errorNoSuchChannel = -49996;
    virtual int micboost(int /*channel*/, bool /*on*/) const { return 0; }
    virtual int phantom(int /*channel*/, bool /*on*/) const { return 0; }

    // Writes the low 8 bits to the watchdog. Does nothing where the CPLD has none.
    virtual void watchdog(unsigned int /*value*/) const {}

    virtual ~CHCPLDinterface_k4() = default;
};

// ID 1, version 6 and 7: the link is an I2C bus whose lines are bits of base + 4:
//
// bit 0    SDA, written and read, 1 = released
// bit 1    SCL, written
class MymainCPLD_0x01_0x06 : public CHCPLDinterface_k4, public CHfplink_i2c_base {
public:
    explicit MymainCPLD_0x01_0x06(std::uint16_t basePort) : ports_(basePort) {}

    // Releases the lines, reads panel type and version, and returns this object.
    CHfplinkK4* initSerialLink() override;

    void blink(unsigned char pattern) override;

    // Asks the panel. Without an answer every byte is 0xFF, as the idle bus reads, which
    // marks the word as invalid.
    std::uint32_t keyStatus() override;

    void putI2C(int scl, int sda) override;
    int getI2C(bool ack) override;

protected:
    const PortBlock ports_;
};

// ID 1, version 8: the same bus, with an engine in the CPLD for whole transfers:
//
// base + 5    written: 2 = begin a transfer, 1 = the next byte is the last one;
// read: bit 7 = transmitter busy, bit 5 = receiver not ready
// base + 6    written: address or data byte
// base + 7    read: received byte
//
// The engine tells nothing of acknowledges, so that no transfer fails once its arguments
// are accepted. Its waits have no time limit.
class MymainCPLD_0x01_0x08 : public MymainCPLD_0x01_0x06 {
public:
    static constexpr int errorEngineArguments = -49996; // null buffer, length, bad address

    using MymainCPLD_0x01_0x06::MymainCPLD_0x01_0x06;

    // Return 0 or errorEngineArguments.
    int writeBlock(int addr, const void* data, int len) override;
    int readBlock(int addr, void* data, int len) override;

private:
    void begin(int addressByte) const;
    void waitSent() const;
    void waitReceived() const;
};

// ID 1, version 9, 10 and 16: the link is Myfplink_hss at the same base. The blink pattern
// goes to base + 7 when the link is not busy, however long that takes.
class MymainCPLD_0x01_0x09 : public CHCPLDinterface_k4 {
public:
    explicit MymainCPLD_0x01_0x09(std::uint16_t basePort) : ports_(basePort) {}

    CHfplinkK4* initSerialLink() override;
    void blink(unsigned char pattern) override;

protected:
    const PortBlock ports_;
};

// ID 2, version 1 and 2: as ID 1, version 9, with switches and watchdog:
//
// base + 0x0B    bits 0..3: microphone boost of channel 0..3, bits 4..7: phantom power
// base + 0x0C    written: watchdog
class MymainCPLD_0x02_0x01 : public MymainCPLD_0x01_0x09 {
public:
    using MymainCPLD_0x01_0x09::MymainCPLD_0x01_0x09;

    int micboost(int channel, bool on) const override;
    int phantom(int channel, bool on) const override;
    void watchdog(unsigned int value) const override;

private:
    int setSwitch(int firstBit, int channel, bool on) const;
};

// Stands in where no known CPLD answers: its link is the fake one, all else does nothing.
class MymainCPLD_fake : public CHCPLDinterface_k4 {
public:
    CHfplinkK4* initSerialLink() override;
    void blink(unsigned char) override {}
};
