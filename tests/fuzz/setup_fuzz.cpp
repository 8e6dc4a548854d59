// Any text as a setup is refused, or survives the way back and forth unchanged.

#include "../baselib/choices.h"
#include "sim/setup.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const auto setup = k4sim::decode(std::string(data, data + size));
    if (!setup) return 0;
    const std::string encoded = k4sim::encode(*setup);
    const auto again = k4sim::decode(encoded);
    require(again && k4sim::encode(*again) == encoded, encoded);
    return 0;
}
