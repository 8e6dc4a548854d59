#include "sim/models/bus/i2c_lines.h"

namespace k4sim {

namespace {

constexpr unsigned bits_a_byte = 8;

} // namespace

void I2cLines::drive(bool scl, bool sda) {
    master_scl_ = scl;
    master_sda_ = sda;
    const bool scl_now = this->scl();
    const bool sda_now = this->sda();
    const bool scl_before = seen_scl_;
    const bool sda_before = seen_sda_;
    seen_scl_ = scl_now;
    seen_sda_ = sda_now;
    if (scl_now != scl_before) {
        if (scl_now)
            scl_rises();
        else
            scl_falls();
    } else if (scl_now && sda_now != sda_before) {
        if (sda_now)
            stop_condition();
        else
            start_condition();
    }
}

void I2cLines::start_condition() {
    bus_.stop();
    phase_ = Phase::address;
    bits_ = 0;
    slave_sda_ = true;
}

void I2cLines::stop_condition() {
    bus_.stop();
    phase_ = Phase::idle;
    slave_sda_ = true;
}

void I2cLines::scl_rises() {
    if (phase_ == Phase::address || phase_ == Phase::to_slave) {
        byte_ = static_cast<std::uint8_t>(byte_ << 1 | (seen_sda_ ? 1 : 0));
        ++bits_;
    } else if (phase_ == Phase::answer) {
        answered_ = !seen_sda_;
    }
}

void I2cLines::scl_falls() {
    switch (phase_) {
    case Phase::idle:
        break;
    case Phase::address:
    case Phase::to_slave:
        if (bits_ == bits_a_byte) byte_complete();
        break;
    case Phase::acknowledge:
        phase_ = after_acknowledge_;
        bits_ = 0;
        slave_sda_ = true;
        if (phase_ == Phase::to_master) send_next_byte();
        break;
    case Phase::to_master:
        send_next_bit();
        break;
    case Phase::answer:
        phase_ = answered_ ? Phase::to_master : Phase::idle;
        if (answered_) send_next_byte();
        break;
    }
    seen_sda_ = sda();
}

void I2cLines::byte_complete() {
    const bool is_address = phase_ == Phase::address;
    const bool acknowledged = is_address ? bus_.start(byte_) : bus_.write(byte_);
    const bool reading = is_address && (byte_ & i2c_read_bit) != 0;
    phase_ = Phase::acknowledge;
    after_acknowledge_ = reading ? Phase::to_master : Phase::to_slave;
    slave_sda_ = !acknowledged;
}

void I2cLines::send_next_byte() {
    byte_ = bus_.read();
    bits_ = 0;
    send_next_bit();
}

// After the last bit the line is the master's for its answer.
void I2cLines::send_next_bit() {
    const bool done = bits_ == bits_a_byte;
    slave_sda_ = done || (byte_ >> (bits_a_byte - 1 - bits_) & 1) != 0;
    if (done) phase_ = Phase::answer;
    ++bits_;
}

} // namespace k4sim
