#include "sim/models/joints/byte_joint.h"

#include <utility>

namespace k4sim {

namespace {

constexpr std::uint8_t wrong_bit = 1;
constexpr unsigned bytes_a_fault = 1000;

constexpr std::pair<std::string_view, Microseconds> delays[] = {{"20ms", 20'000},
                                                                {"5s", 5'000'000}};

} // namespace

unsigned ByteJoint::pass(std::uint8_t& byte) {
    byte = bits_.through_byte(byte);
    if (flipped_.strikes()) byte ^= wrong_bit;
    if (open_ || lost_.strikes()) return 0;
    return doubled_.strikes() ? 2 : 1;
}

void ByteJoint::name_sites(FaultSites& sites, const std::string& name, Latency latency) {
    bits_.name_bits(sites, name + ".bit", 0xFF, BitJoint::stuck);
    sites.add(name + ".wire", "open", [this](bool broken) { open_ = broken; });
    for (const auto& [way, what] : {std::pair("lost-1000", &ByteJoint::lost_),
                                    std::pair("doubled-1000", &ByteJoint::doubled_),
                                    std::pair("flipped-1000", &ByteJoint::flipped_)})
        sites.add(name + ".bytes", way, [this, what, seed = sites.seed()](bool broken) {
            this->*what = OneIn(broken ? bytes_a_fault : 0, seed);
        });
    if (latency == Latency::none) return;
    for (const auto& [way, delay_us] : delays)
        sites.add(name + ".latency", way,
                  [this, delay_us](bool broken) { delay_us_ = broken ? delay_us : 0; });
}

} // namespace k4sim
