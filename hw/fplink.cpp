#include "hw/fplink.h"

namespace {

constexpr int offsetControl = 4;
constexpr int offsetTypeOrData = 5;
constexpr int offsetVersionOrCommand = 6;
constexpr int offsetKeys = 7;

constexpr std::uint8_t controlBusy = 0x80;
constexpr std::uint8_t controlReset = 1;

constexpr int noBus = -1;

// Byte `index` of a value, 0 = least significant.
constexpr std::uint8_t byteOf(unsigned int value, int index) {
    return static_cast<std::uint8_t>(value >> 8 * index);
}

} // namespace

void CHfplink_i2c_base::init() {
    query(messageType, &panelType, sizeof panelType);
    query(messageVersion, &panelVersion, sizeof panelVersion);
}

void CHfplink_i2c_base::put_cmd(unsigned char command) { send({messageCommand, command}); }

void CHfplink_i2c_base::put_cmd(unsigned short command) {
    send({messageCommand, byteOf(command, 0), byteOf(command, 1)});
}

void CHfplink_i2c_base::put_cmd(unsigned int command) {
    send({messageCommand, byteOf(command, 3), byteOf(command, 2), byteOf(command, 1),
          byteOf(command, 0)});
}

void CHfplink_i2c_base::put_data(unsigned char data) { send({messageData, data}); }

void CHfplink_i2c_base::put_data(unsigned int data) {
    send({messageData, byteOf(data, 3), byteOf(data, 2), byteOf(data, 1), byteOf(data, 0)});
}

int CHfplink_i2c_base::write(int addr, const void* data, int len) {
    return writeBlock(addr, data, len);
}

void CHfplink_i2c_base::send(std::initializer_list<std::uint8_t> message) {
    writeBlock(panelAddress, message.begin(), static_cast<int>(message.size()));
}

int CHfplink_i2c_base::query(std::uint8_t message, void* answer, int len) {
    return writeRead(panelAddress, &message, sizeof message, answer, len);
}

void Myfplink_hss::init() {
    ports_.out(offsetControl, controlReset);
    panelType = ports_.in(offsetTypeOrData);
    panelVersion = ports_.in(offsetVersionOrCommand);
}

void Myfplink_hss::put_cmd(unsigned char command) { send(offsetVersionOrCommand, command); }

void Myfplink_hss::put_cmd(unsigned short command) {
    put_cmd(byteOf(command, 0));
    put_cmd(byteOf(command, 1));
}

void Myfplink_hss::put_cmd(unsigned int command) {
    for (int index = 3; index >= 0; --index)
        put_cmd(byteOf(command, index));
}

void Myfplink_hss::put_data(unsigned char data) { send(offsetTypeOrData, data); }

void Myfplink_hss::put_data(unsigned int data) {
    for (int index = 3; index >= 0; --index)
        put_data(byteOf(data, index));
}

int Myfplink_hss::write(int, const void*, int) { return noBus; }

std::uint32_t Myfplink_hss::keyStatus() {
    std::uint32_t word = 0;
    for (int index = 0; index < 4; ++index)
        word |= std::uint32_t{ports_.in(offsetKeys + index)} << 8 * index;
    return word;
}

void Myfplink_hss::send(int offset, std::uint8_t value) const {
    ports_.waitClear(offsetControl, controlBusy);
    ports_.out(offset, value);
}
