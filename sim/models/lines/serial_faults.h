// The faults of the serial adapters by name.
#pragma once

#include "sim/models/breaker.h"

#include <string_view>

namespace k4sim {

class SerialAdapters;

// Carries the fault out or clears it; false when it is none of the serial adapters', or passes by
// itself. The value is one
// that fault_error() has nothing against.
bool work_on_serial(Work work, SerialAdapters& serial, std::string_view name,
                    std::string_view value);

} // namespace k4sim
