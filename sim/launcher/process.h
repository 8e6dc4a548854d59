// The program's process, with the device library loaded into it.
#pragma once

#include "sim/launcher/progress.h"
#include "sim/launcher/record.h"
#include "sim/launcher/verdict.h"
#include "sim/launcher/watcher.h"
#include "sim/setup.h"

#include <string>
#include <vector>

namespace k4sim {

struct Program {
    std::string path;
    std::vector<std::string> arguments; // its name first
    std::string library_folder;
    std::string library; // a name in that folder
};

// Runs the program to its end; its console is the launcher's own, what the library reports
// goes to the record, which `progress` is shown. It gets no new rights by any execution, and dies
// with the launcher. It does not begin without the library: such a one is killed, and the result is
// marked `bare`. A request to end the run (see signals.h) is the program's to answer. Throws
// UsageError when the program can't be started.
// `watcher`: null where nobody looks on.
ProcessEnd run_process(const Program& program, const Setup& setup, Record& record,
                       Progress& progress, RunWatcher* watcher = nullptr);

} // namespace k4sim
