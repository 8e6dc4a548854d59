// The program's process, with libk4sim.so loaded into it.
#pragma once

#include "sim/launcher/record.h"
#include "sim/launcher/verdict.h"
#include "sim/setup.h"

#include <string>
#include <vector>

namespace k4sim {

// Runs the program to its end; its console is the launcher's own, what the library reports
// goes to the record. Throws UsageError when no process can be made.
ProcessEnd run_process(const std::string& path, const std::vector<std::string>& arguments,
                       const std::string& library, Setup setup, Record& record);

} // namespace k4sim
