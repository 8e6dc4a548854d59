#include "hw/i2c.h"

namespace {

constexpr unsigned int addressMax = 127;
constexpr int bitsPerByte = 8;

} // namespace

int KLTi2cBase::writeRead(int addr, const void* wdata, int wlen, void* rdata, int rlen) {
    const int result = writeBlock(addr, wdata, wlen);
    return result == 0 ? readBlock(addr, rdata, rlen) : result;
}

bool KLTi2cBase::isTransfer(int addr, const void* data, int len) {
    return data != nullptr && len >= 1 && static_cast<unsigned int>(addr) <= addressMax;
}

int KLTi2cBase2::writeBlock(int addr, const void* data, int len) {
    if (!isTransfer(addr, data, len)) return errorArguments;
    iicStart();
    const int result = writeBytes(addr, static_cast<const std::uint8_t*>(data), len);
    iicStop();
    return result;
}

int KLTi2cBase2::readBlock(int addr, void* data, int len) {
    if (!isTransfer(addr, data, len)) return errorArguments;
    iicStart();
    const int result = readBytes(addr, static_cast<std::uint8_t*>(data), len);
    iicStop();
    return result;
}

void KLTi2cBase2::waitI2C() {}

void KLTi2cBase2::iicStart() {
    putI2C(1, 0);
    putI2C(0, 0);
}

void KLTi2cBase2::iicStop() {
    putI2C(1, 0);
    putI2C(1, 1);
}

bool KLTi2cBase2::iicBwrite(int byte) {
    for (int bit = bitsPerByte - 1; bit >= 0; --bit) {
        const int level = byte >> bit & 1;
        putI2C(0, level);
        putI2C(1, level);
        waitI2C();
        waitI2C();
    }
    putI2C(0, 1);
    putI2C(1, 1);
    waitI2C();
    const bool isAcknowledged = getI2C(true) == 0;
    putI2C(0, 0);
    waitI2C();
    return isAcknowledged;
}

int KLTi2cBase2::iicBread(bool ack) {
    int byte = 0;
    putI2C(0, 1);
    for (int bit = 0; bit < bitsPerByte; ++bit) {
        putI2C(1, 1);
        waitI2C();
        byte = byte << 1 | getI2C(false);
        putI2C(0, 1);
        waitI2C();
    }
    const int level = ack ? 0 : 1;
    putI2C(0, level);
    putI2C(1, level);
    waitI2C();
    putI2C(0, 0);
    waitI2C();
    return byte;
}

int KLTi2cBase2::testDataLine() {
    putI2C(1, 1);
    const int result = checkDataLine();
    putI2C(1, 1);
    return result;
}

int KLTi2cBase2::writeBytes(int addr, const std::uint8_t* data, int len) {
    if (!iicBwrite(addr * 2)) return errorWriteNoAck;
    for (int i = 0; i < len; ++i)
        if (!iicBwrite(data[i])) return errorDataNoAck;
    return 0;
}

int KLTi2cBase2::readBytes(int addr, std::uint8_t* data, int len) {
    if (!iicBwrite(addr * 2 + iicReadFlag)) return errorReadNoAck;
    for (int i = 0; i < len; ++i)
        data[i] = static_cast<std::uint8_t>(iicBread(i + 1 < len));
    return 0;
}

// SCL stays low, so that no slave takes the changes of SDA for a START or STOP.
int KLTi2cBase2::checkDataLine() {
    putI2C(0, 1);
    if (getI2C(false) == 0) return errorDataLow;
    putI2C(0, 0);
    if (getI2C(false) != 0) return errorDataHigh;
    putI2C(0, 1);
    return getI2C(false) == 0 ? errorDataLow : 0;
}
