#include "sim/models/bus/i2c_bus.h"

namespace k4sim {

bool I2cBus::start(std::uint8_t address_byte) {
    selected_ = nullptr;
    I2cSlave* slave = slaves_[address_byte >> 1];
    if (slave == nullptr) return false;
    const bool answers = address_byte & i2c_read_bit ? slave->begin_read() : slave->begin_write();
    if (answers) selected_ = slave;
    return answers;
}

bool I2cBus::write(std::uint8_t byte) {
    return selected_ != nullptr && selected_->write_byte(byte);
}

std::uint8_t I2cBus::read() { return selected_ == nullptr ? 0xFF : selected_->read_byte(); }

} // namespace k4sim
