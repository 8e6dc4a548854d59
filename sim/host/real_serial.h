// A serial adapter of this machine, as /dev/ttyUSBn of the program.
#pragma once

#include "sim/host/open_file.h"

#include <memory>

namespace k4sim {

struct RealPart;

// What the program opens as device `number`; null when nothing is mapped to that. Events of it:
// `settings`, and what was `sent` and `received`, of the latter what came within a short while.
std::unique_ptr<OpenFile> open_real_serial(const RealPart& part, int number);

} // namespace k4sim
