#include "sim/models/bus/i2c_bus.h"

namespace k4sim {

namespace {

constexpr std::uint8_t read_bit = 0x01;

} // namespace

void I2cBus::set_corruption(std::uint32_t nth, std::uint8_t mask) {
    bytes_until_corruption_ = nth;
    corruption_mask_ = mask;
}

void I2cBus::clear_faults() {
    mute_.fill(false);
    sda_stuck_.reset();
    scl_stuck_.reset();
    bytes_until_corruption_ = 0;
}

bool I2cBus::start(std::uint8_t address_byte) {
    selected_ = nullptr;
    const unsigned address = address_byte >> 1;
    I2cSlave* slave = slaves_[address];
    if (slave == nullptr || mute_[address]) return false;
    const bool answers = address_byte & read_bit ? slave->begin_read() : slave->begin_write();
    if (answers) selected_ = slave;
    return answers;
}

bool I2cBus::write(std::uint8_t byte) {
    return selected_ != nullptr && selected_->write_byte(on_the_way(byte));
}

std::uint8_t I2cBus::read() {
    return selected_ == nullptr ? 0xFF : on_the_way(selected_->read_byte());
}

std::uint8_t I2cBus::on_the_way(std::uint8_t byte) {
    if (bytes_until_corruption_ == 0 || --bytes_until_corruption_ > 0) return byte;
    return byte ^ corruption_mask_;
}

} // namespace k4sim
