// Parts of the device that are this machine's own (--real): what the command line says of them,
// and whether they are there.
#pragma once

#include "sim/setup.h"

#include <filesystem>
#include <string>
#include <vector>

namespace k4sim {

// "all", "ROLE[,ROLE]", or "ROLE=NAME[,NAME]", which tells the devices of one role. A role that was
// said before is said anew. Throws UsageError.
void add_real(Setup& setup, const std::string& value);

// Opens each device that was named, and looks for one where none was, except where every role is
// real: what is missing then is for the program to find. The ports need a K/4, or that the user
// says it is one; who may not use them is left to the program, too. Throws UsageError.
void check_real(const Setup& setup);

// The device files that the program may reach.
std::vector<std::filesystem::path> real_files(const Setup& setup);

} // namespace k4sim
