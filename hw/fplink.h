#pragma once

#include "hw/i2c.h"
#include "hw/ports.h"

#include <cstdint>
#include <initializer_list>

// The link from the mainboard to the front panel: commands and data to the OLED
// controller, and the state of the keys. One thread at a time may use a link.
class CHfplinkK4 {
public:
    // Which OLED controller is fitted, and the version of the panel. Both 0 until init()
    // has read them.
    std::uint8_t panelType = 0;
    std::uint8_t panelVersion = 0;

    // Reads panelType and panelVersion. An unanswered read leaves its byte alone.
    virtual void init() = 0;

    // Sends command bytes to the OLED controller: one byte, two bytes (least significant
    // first), or four (most significant first). The panel expects both orders just so.
    // Errors of the bus are not reported.
    virtual void put_cmd(unsigned char command) = 0;
    virtual void put_cmd(unsigned short command) = 0;
    virtual void put_cmd(unsigned int command) = 0;

    // Sends one data byte, or four, most significant first, to the OLED controller. Errors
    // of the bus are not reported.
    virtual void put_data(unsigned char data) = 0;
    virtual void put_data(unsigned int data) = 0;

    // Passes a raw block to any address of the bus and returns the bus's code (see
    // KLTi2cBase::writeBlock); -1 on a link that is no bus.
    virtual int write(int addr, const void* data, int len) = 0;

    // The status word of the keys (see CHfpK4keyBuf).
    virtual std::uint32_t keyStatus() = 0;

    virtual ~CHfplinkK4() = default;
};

// The link over an I2C bus. The panel is one slave; the first byte of a write says what
// the others are. The driver of the bus adds keyStatus().
class CHfplink_i2c_base : public CHfplinkK4, public KLTi2cBase2 {
public:
    // I2C address of the front panel.
    static constexpr int panelAddress = 0x3C;

    void init() override;
    void put_cmd(unsigned char command) override;
    void put_cmd(unsigned short command) override;
    void put_cmd(unsigned int command) override;
    void put_data(unsigned char data) override;
    void put_data(unsigned int data) override;
    int write(int addr, const void* data, int len) override;

protected:
    // First bytes of the messages.
    static constexpr std::uint8_t messageType = 0x00;
    static constexpr std::uint8_t messageVersion = 0x01;
    static constexpr std::uint8_t messageCommand = 0x10;
    static constexpr std::uint8_t messageData = 0x20;
    static constexpr std::uint8_t messageKeys = 0x40;
    static constexpr std::uint8_t messageBlink = 0x50;

    // Sends one message, its first byte included. Errors of the bus are not reported.
    void send(std::initializer_list<std::uint8_t> message);

    // Sends the message byte, then reads `len` bytes in a second transaction. Returns the
    // bus's code.
    int query(std::uint8_t message, void* answer, int len);
};

// The link over the byte-wide port of the CPLD at a base port:
//
// base + 4    bit 7 read: busy; written 1: reset of the link
// base + 5    read: panel type; written: data byte
// base + 6    read: panel version; written: command byte
// base + 7    read: bits 0..7 of the key status, and so on up to base + 10
//
// A byte is sent when the link is not busy, however long that takes. The forms of several
// bytes go through the virtual forms of one byte.
class Myfplink_hss : public CHfplinkK4 {
public:
    explicit Myfplink_hss(std::uint16_t basePort) : ports_(basePort) {}

    void init() override;
    void put_cmd(unsigned char command) override;
    void put_cmd(unsigned short command) override;
    void put_cmd(unsigned int command) override;
    void put_data(unsigned char data) override;
    void put_data(unsigned int data) override;

    // Not supported: returns -1.
    int write(int addr, const void* data, int len) override;

    std::uint32_t keyStatus() override;

private:
    void send(int offset, std::uint8_t value) const;

    const PortBlock ports_;
};

// The link of a mainboard without a known CPLD: does nothing, panel type and version stay
// 0, and the status word of the keys is 0.
class Myfplink_fake : public CHfplinkK4 {
public:
    void init() override {}
    void put_cmd(unsigned char) override {}
    void put_cmd(unsigned short) override {}
    void put_cmd(unsigned int) override {}
    void put_data(unsigned char) override {}
    void put_data(unsigned int) override {}
    int write(int, const void*, int) override { return -1; }
    std::uint32_t keyStatus() override { return 0; }
};
