// Any text as a setup: it is refused, or it is understood and survives the way back and
// forth unchanged.

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "sim/setup.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string text(data, data + size);
    const auto setup = k4sim::decode(text);
    if (!setup) return 0;
    const std::string encoded = k4sim::encode(*setup);
    const auto again = k4sim::decode(encoded);
    if (!again || k4sim::encode(*again) != encoded) std::abort();
    return 0;
}
