// The program's process, with libk4sim.so loaded into it.
#pragma once

#include "sim/launcher/record.h"
#include "sim/launcher/verdict.h"
#include "sim/setup.h"

#include <string>
#include <vector>

namespace k4sim {

// Runs the program to its end; its console is the launcher's own, what the library reports
// goes to the record. Meanwhile an interrupt from the keyboard, which the program gets too,
// does not end the launcher, and a request to terminate is handed on to the program: so the
// record of a run that is broken off is complete. Throws UsageError when the program can't
// be started.
ProcessEnd run_process(const std::string& path, const std::vector<std::string>& arguments,
                       const std::string& library, const Setup& setup, Record& record);

} // namespace k4sim
