#pragma once

#include <cstdint>

// Of the first byte, beside the address: the master reads.
inline constexpr int iicReadFlag = 1;

// I2C master. Addresses are 7 bits, 0..127, without the read/write bit.
//
// None of the classes locks: one thread at a time may use a bus. Between two calls the bus
// is idle.
class KLTi2cBase {
public:
    static constexpr int errorDataHigh = -8644;   // SDA stays high while driven low
    static constexpr int errorDataLow = -8645;    // SDA reads low while released
    static constexpr int errorDataNoAck = -8646;  // a data byte of a write, not acknowledged
    static constexpr int errorReadNoAck = -8647;  // the address of a read, not acknowledged
    static constexpr int errorWriteNoAck = -8648; // the address of a write, not acknowledged
    static constexpr int errorArguments = -8649;  // null buffer, length below 1, bad address

    virtual ~KLTi2cBase() = default;

    // One write transaction: START, address, `len` bytes of data, STOP. Returns 0,
    // errorArguments, errorWriteNoAck or errorDataNoAck.
    virtual int writeBlock(int addr, const void* data, int len) = 0;

    // One read transaction: START, address, `len` bytes, STOP. Every byte but the last is
    // acknowledged. Returns 0, errorArguments or errorReadNoAck; `data` is left alone on
    // an error.
    virtual int readBlock(int addr, void* data, int len) = 0;

    // Sets both lines at once: 1 releases a line (high), 0 drives it low.
    virtual void putI2C(int scl, int sda) = 0;

    // Level of SDA, 0 or 1. `ack` tells that the bit is an acknowledge.
    virtual int getI2C(bool ack) = 0;

    // Waits for half a bit period.
    virtual void waitI2C() = 0;

    // A write transaction, then a read transaction to the same address (no repeated
    // START): reads a register. Returns the code of the write when that fails, and then
    // reads nothing; else the code of the read.
    int writeRead(int addr, const void* wdata, int wlen, void* rdata, int rlen);

protected:
    // True when a block operation may begin with these arguments.
    static bool isTransfer(int addr, const void* data, int len);
};

// I2C master that moves the two lines in software. A driver provides putI2C and getI2C.
class KLTi2cBase2 : public KLTi2cBase {
public:
    int writeBlock(int addr, const void* data, int len) override;
    int readBlock(int addr, void* data, int len) override;

    // Does not wait: the bus is as fast as the driver's line operations.
    void waitI2C() override;

    // START: SDA falls while SCL is high. Leaves both lines low.
    void iicStart();

    // STOP: SDA rises while SCL is high. Leaves both lines released.
    void iicStop();

    // Sends the low 8 bits, most significant first. Returns true when the slave
    // acknowledged. Leaves both lines low.
    bool iicBwrite(int byte);

    // Receives a byte, 0..255, and acknowledges it when `ack` is true. Leaves both lines
    // low.
    int iicBread(bool ack);

    // Checks that SDA follows the driver, on an idle bus. Returns 0, errorDataHigh or
    // errorDataLow. Leaves both lines released.
    [[nodiscard]] int testDataLine();

private:
    int writeBytes(int addr, const std::uint8_t* data, int len);
    int readBytes(int addr, std::uint8_t* data, int len);
    int checkDataLine();
};

// A bus without lines: nothing ever answers, so that a write gives errorWriteNoAck and a
// read errorReadNoAck.
class KLTi2cDummy : public KLTi2cBase2 {
public:
    void putI2C(int, int) override {}
    int getI2C(bool) override { return 1; }
};
