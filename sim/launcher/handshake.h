// The start of the program under watch: it comes to its first instruction only when the
// device library is loaded into it.
#pragma once

#include <sys/types.h>

namespace k4sim {

enum class Start {
    device_loaded, // the library has reported in, and the program runs on by itself
    bare,          // the program was about to begin without it, and was killed
    ended          // it came to its end before
};

struct WatchedStart {
    Start how = Start::ended;
    int wait_status = 0; // where it ended, also as bare: as from waitpid
};

// In the child, before it executes the program. False, with errno, when that can't be.
bool ask_to_be_watched();

// In the parent: follows the child from there. The program's entry is a trap until the library,
// which the loader starts before, reports in by a trap of its own. Throws UsageError, with the
// child killed, when the system does not let the launcher look into the child.
WatchedStart watch_start(pid_t child);

} // namespace k4sim
