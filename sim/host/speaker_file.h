// The console device of the virtual K/4: a virtual terminal, of which the program uses
// the speaker.
#pragma once

#include "sim/host/open_file.h"

#include <memory>

namespace k4sim {

// Null when the device has no console device.
std::unique_ptr<OpenFile> open_speaker();

} // namespace k4sim
