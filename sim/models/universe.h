// Every single fault of a board: those of the sites that its models name, and those of the fault
// list with values that make sense.
#pragma once

#include "sim/models/joints/fault_sites.h"
#include "sim/setup.h"

#include <string>
#include <string_view>
#include <vector>

namespace k4sim {

// Sites first, in the order in which the models name them, then the fault list.
const std::vector<SiteFault>& universe(Board board);

// Whether a fault of this name is one of a site; those of the fault list are not.
constexpr bool is_site(std::string_view name) { return name.find('.') != std::string_view::npos; }

// Why the site can't be broken like this on the board: one line that says what and how to mend it.
// Empty when all is well.
std::string site_error(Board board, std::string_view site, std::string_view way);

} // namespace k4sim
