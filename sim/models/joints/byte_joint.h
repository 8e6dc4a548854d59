// A serial line, byte by byte: bits may be stuck, and bytes get lost, doubled, spoiled or late.
#pragma once

#include "sim/models/joints/bit_joint.h"
#include "sim/models/joints/fault_sites.h"
#include "sim/models/joints/one_in.h"
#include "sim/models/surroundings.h"

#include <cstdint>
#include <string>

namespace k4sim {

class ByteJoint {
public:
    // How many times the byte comes out, and as what: once, or not at all, or twice.
    unsigned pass(std::uint8_t& byte);
    // By how much later than it should.
    Microseconds delay() const { return delay_us_; }

    // Sites "NAME.bitN", "NAME.wire", "NAME.bytes" and, with some, "NAME.latency".
    enum class Latency { none, some };
    void name_sites(FaultSites& sites, const std::string& name, Latency latency);

private:
    BitJoint bits_;
    bool open_ = false;
    OneIn lost_, doubled_, flipped_;
    Microseconds delay_us_ = 0;
};

} // namespace k4sim
