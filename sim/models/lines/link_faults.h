// What the faults of the list do to the network links.
#pragma once

#include "sim/models/breaker.h"

#include <string_view>

namespace k4sim {

class NetworkLinks;

// False, and nothing is changed, for a fault that is none of theirs, or can't be cleared. The value
// must fit (fault_error()).
bool work_on_links(Work work, NetworkLinks& links, std::string_view name, std::string_view value);

} // namespace k4sim
