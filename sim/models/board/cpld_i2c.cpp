#include "sim/models/board/cpld_i2c.h"

namespace k4sim {

namespace {

constexpr unsigned sda_bit = 0;
constexpr unsigned unused_bits = 0xFC;

constexpr Expectation line_expectations[] = {
    {"cpld.lines.*", Finding::escaped, "bytes come from the engine, and nobody reads the lines",
     on_engine},
    {"cpld.lines.bit0=*", Finding::blocked,
     "nothing can be read of the panel, which so has no key that could end the run"},
    {"cpld.lines.*", Finding::escaped, "the clock is the program's own, and never read back"},
};

} // namespace

void CpldI2c::name_sites(FaultSites& sites) {
    Cpld::name_sites(sites);
    lines_.bus().name_sites(sites);
    sites.about("Frontpanel", line_expectations);
    line_bits_.name_bits(sites, "cpld.lines.bit", 0xFF & ~unused_bits, BitJoint::steady);
    line_bits_.name_bits(sites, "cpld.lines.bit", unused_bits, BitJoint::stuck_1);
    line_bits_.name_bits(sites, "cpld.lines.bit", 1U << sda_bit, BitJoint::flaky_100);
}

} // namespace k4sim
