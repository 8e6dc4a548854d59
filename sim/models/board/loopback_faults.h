// What the faults of the list do to the loopback plug of the parallel port.
#pragma once

#include "sim/models/breaker.h"

#include <string_view>

namespace k4sim {

class ParallelLoopback;

// False, and nothing is changed, for a fault that is not the plug's, or can't be cleared. The value
// must fit (fault_error()).
bool work_on_loopback(Work work, ParallelLoopback& loopback, std::string_view name,
                      std::string_view value);

} // namespace k4sim
