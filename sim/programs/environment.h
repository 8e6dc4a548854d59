// What a program is started with, so that it is on the virtual device.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace k4sim {

// What the variables of a run are set to, whatever a program would have them.
struct RunVariables {
    std::string_view library; // a name in the folder of library_folder
    std::string_view setup;   // as encode() writes it
    std::string_view role;    // of setup_process.h
};

// `variables` (a null pointer behind them, or null: none) with those of the run put in. The device
// library comes before what they preload themselves.
std::vector<std::string> environment_with(const RunVariables& run, char* const* variables);

// As the exec functions want it: pointers into `texts`, and a null pointer behind them.
std::vector<char*> pointers_to(const std::vector<std::string>& texts);

} // namespace k4sim
