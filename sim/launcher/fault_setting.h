// A fault as people write it.
#pragma once

#include "sim/setup.h"

#include <optional>
#include <string>

namespace k4sim {

// NAME[=VALUE][@SECONDS]; empty where the seconds are none. Whether there is such a fault is for
// fault_error() to tell.
std::optional<FaultSetting> fault_setting(const std::string& text);

} // namespace k4sim
