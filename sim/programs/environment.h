// What a program is started with, so that it is on the virtual device.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace k4sim {

// `variables` (a null pointer behind them, or null: none) with those of the run put in, whatever
// they were. library: a name in the folder of library_folder; it comes before what they preload
// themselves. role: of setup_process.h.
std::vector<std::string> environment_with(std::string_view library, std::string_view role,
                                          char* const* variables);

// As the exec functions want it: pointers into `texts`, and a null pointer behind them.
std::vector<char*> pointers_to(const std::vector<std::string>& texts);

} // namespace k4sim
