#include "sim/models/board/cpld.h"

namespace k4sim {

namespace {

constexpr unsigned id_register = 0;
constexpr unsigned version_register = 1;
constexpr unsigned parallel_output = 2;
constexpr unsigned parallel_input = 3;

constexpr Expectation identity_expectations[] = {
    {"cpld.version.bit0=stuck-1", Finding::escaped, "version 7 has the driver of version 6",
     on_i2c},
    {"cpld.*", Finding::blocked,
     "without a driver for the CPLD there is no panel, whose key could end the run"},
};

} // namespace

std::uint8_t Cpld::in(std::uint16_t port) {
    switch (offset(port)) {
    case id_register:
        return id_bits_.through_byte(id_);
    case version_register:
        return version_bits_.through_byte(version_);
    case parallel_input:
        return loopback_ != nullptr ? loopback_->read() : 0;
    default:
        return absent;
    }
}

void Cpld::name_sites(FaultSites& sites) {
    sites.about("ParallelPrt", identity_expectations);
    id_bits_.name_constant(sites, "cpld.id.bit", own_id_);
    version_bits_.name_constant(sites, "cpld.version.bit", own_version_);
}

void Cpld::out(std::uint16_t port, std::uint8_t value) {
    if (offset(port) == parallel_output && loopback_ != nullptr) loopback_->drive(value);
}

} // namespace k4sim
