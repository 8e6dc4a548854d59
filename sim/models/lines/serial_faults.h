// The faults of the serial adapters by name.
#pragma once

#include <string_view>

namespace k4sim {

class SerialAdapters;

// Carries the fault out; false when it is none of the serial adapters. The value is one
// that fault_error() has nothing against.
bool strike_serial(SerialAdapters& serial, std::string_view name, std::string_view value);

} // namespace k4sim
