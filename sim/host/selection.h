// select, in terms of poll.
#pragma once

#include "sim/models/surroundings.h"

#include <sys/select.h>

namespace k4sim {

// As select with a deadline in virtual time. A set may be null. A cancellation point.
int select_until(int count, fd_set* reading, fd_set* writing, fd_set* exceptions,
                 Microseconds deadline);

} // namespace k4sim
