// `k4sim panel`: a run before a panel in the browser, and the runs that are asked for there.
#pragma once

#include "sim/launcher/options.h"
#include "sim/launcher/watcher.h"

#include <functional>

namespace k4sim {

// Prints the address of the page, then runs the program by `run`, again and again as it is asked
// for, until a signal ends it. Returns the status of the last run. Throws UsageError when no port
// can be had.
int serve_panel(const Options& options, const std::function<int(const Options&, RunWatcher*)>& run);

} // namespace k4sim
