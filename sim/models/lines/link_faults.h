// What the faults of the list do to the network links.
#pragma once

#include <string_view>

namespace k4sim {

class NetworkLinks;

// False, and nothing is changed, for a fault that is none of theirs. The value must fit
// (fault_error()).
bool strike_links(NetworkLinks& links, std::string_view name, std::string_view value);

} // namespace k4sim
