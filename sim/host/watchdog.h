// Ends a run that virtual time no longer passes in: a thread that computes without end and
// calls nothing, or that the system holds, would keep the launcher waiting for good.
#pragma once

#include "sim/models/surroundings.h"

namespace k4sim {

// Watches from now on, for as long as the process lives: when for `patience` of real time no
// virtual time has passed, the name of the running thread and where it stands go to standard
// error, the record tells "stall", and the process ends with status_stalled.
//
// Time in which the process is stopped, holds its pace, or has a child, which it may wait for,
// does not count.
void start_watchdog(Microseconds patience);

} // namespace k4sim
