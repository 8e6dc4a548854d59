#include "sim/models/board/cpld_engine.h"

#include <algorithm>

namespace k4sim {

namespace {

constexpr unsigned control_register = 5;
constexpr unsigned transmit_register = 6;
constexpr unsigned receive_register = 7;

constexpr std::uint8_t start_with_next = 0x02;
constexpr std::uint8_t stop_after_next = 0x01;

constexpr std::uint8_t transmitter_busy = 0x80;
constexpr std::uint8_t receiver_not_ready = 0x20;

constexpr Expectation engine_expectations[] = {
    {"cpld.control.bit0=stuck-0", Finding::escaped, "the next start ends what goes on"},
    {"cpld.receive.bit[01]=stuck-0", Finding::operator_,
     "keys that are held down count as pressed, but end the lamp test"},
    {"cpld.receive.bit0=stuck-1", Finding::detected, ""},
    {"cpld.receive.bit[3-5]=stuck-1", Finding::detected, ""},
    {"cpld.receive.bit[67]=stuck-0", Finding::detected, ""},
    {"cpld.receive.bit0=inverted", Finding::operator_,
     "it is taken for the other known type, whose glass is another one"},
    {"cpld.transmit.bit[127]=stuck-0", Finding::operator_,
     "nothing stands on the glass, but the keys work"},
    {"cpld.*", Finding::blocked, "a panel that can't be reached has no key that could end the run"},
};

} // namespace

void CpldEngine::name_sites(FaultSites& sites) {
    CpldI2c::name_sites(sites);
    sites.about("Frontpanel", engine_expectations);
    constexpr unsigned all_bits = 0xFF;
    status_bits_.name_bits(sites, "cpld.status.bit", transmitter_busy | receiver_not_ready,
                           BitJoint::steady);
    control_bits_.name_bits(sites, "cpld.control.bit", start_with_next | stop_after_next,
                            BitJoint::steady);
    transmit_bits_.name_bits(sites, "cpld.transmit.bit", all_bits, BitJoint::steady);
    receive_bits_.name_bits(sites, "cpld.receive.bit", all_bits, BitJoint::steady);
}

std::uint8_t CpldEngine::in(std::uint16_t port) {
    switch (offset(port)) {
    case control_register:
        return status_bits_.through_byte(status());
    case receive_register:
        return take_received();
    default:
        return CpldI2c::in(port);
    }
}

void CpldEngine::out(std::uint16_t port, std::uint8_t value) {
    switch (offset(port)) {
    case control_register:
        control(control_bits_.through_byte(value));
        break;
    case transmit_register:
        transmit(transmit_bits_.through_byte(value));
        break;
    default:
        CpldI2c::out(port, value);
        break;
    }
}

std::uint8_t CpldEngine::status() const {
    const Microseconds now = surroundings_.now();
    std::uint8_t bits = 0;
    if (now < transmitted_at_) bits |= transmitter_busy;
    if (!receiving_ || now < received_at_) bits |= receiver_not_ready;
    return bits;
}

void CpldEngine::control(std::uint8_t value) {
    if (value & start_with_next) start_next_ = true;
    if (value & stop_after_next) last_next_ = true;
}

void CpldEngine::transmit(std::uint8_t byte) {
    const Microseconds now = surroundings_.now();
    if (transmitted_at_ - now > byte_time_us) {
        protocol_error("byte sent while another waits");
        return;
    }
    transmitted_at_ = std::max(transmitted_at_, now) + byte_time_us;
    wave_.byte(transmitted_at_ - byte_time_us, byte, start_next_);
    const bool acknowledged = start_next_ ? start(byte) : !bus_.jammed() && bus_.write(byte);
    const bool last = last_next_ && !receiving_;
    wave_.answer(transmitted_at_, acknowledged, last);
    if (last) {
        last_next_ = false;
        bus_.stop();
    }
}

bool CpldEngine::start(std::uint8_t address_byte) {
    start_next_ = false;
    bus_.stop();
    const bool acknowledged = !bus_.jammed() && bus_.start(address_byte);
    receiving_ = (address_byte & i2c_read_bit) != 0;
    received_at_ = transmitted_at_;
    if (receiving_) receive();
    return acknowledged;
}

void CpldEngine::receive() {
    received_ = bus_.jammed() ? (bus_.sda_stuck().value_or(true) ? 0xFF : 0x00) : bus_.read();
    received_at_ = std::max(received_at_, surroundings_.now()) + byte_time_us;
    wave_.byte(received_at_ - byte_time_us, received_, false);
}

std::uint8_t CpldEngine::take_received() {
    const std::uint8_t byte = receive_bits_.through_byte(received_);
    if (!receiving_ || surroundings_.now() < received_at_) {
        protocol_error("read before a byte was ready");
        return byte;
    }
    wave_.answer(surroundings_.now(), !last_next_, last_next_);
    if (last_next_) {
        last_next_ = receiving_ = false;
        bus_.stop();
    } else {
        receive();
    }
    return byte;
}

void CpldEngine::protocol_error(std::string_view why) {
    ++protocol_errors_;
    if ((protocol_errors_ & (protocol_errors_ - 1)) == 0)
        surroundings_.event("cpld", "protocol-error",
                            {{"why", why}, {"count", std::int64_t{protocol_errors_}}});
}

} // namespace k4sim
