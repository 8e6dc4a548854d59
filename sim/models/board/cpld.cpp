#include "sim/models/board/cpld.h"

namespace k4sim {

namespace {

constexpr unsigned id_register = 0;
constexpr unsigned version_register = 1;
constexpr unsigned parallel_output = 2;
constexpr unsigned parallel_input = 3;

} // namespace

std::uint8_t Cpld::in(std::uint16_t port) {
    switch (offset(port)) {
    case id_register:
        return id_;
    case version_register:
        return version_;
    case parallel_input:
        return loopback_ != nullptr ? loopback_->read() : 0;
    default:
        return absent;
    }
}

void Cpld::out(std::uint16_t port, std::uint8_t value) {
    if (offset(port) == parallel_output && loopback_ != nullptr) loopback_->drive(value);
}

} // namespace k4sim
