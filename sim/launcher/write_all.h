// Writing by the system's own calls.
#pragma once

#include <string_view>

namespace k4sim {

// All of it. False, with errno, when that fails.
bool write_all(int descriptor, std::string_view bytes);

} // namespace k4sim
