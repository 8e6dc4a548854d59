// How libasound in this process comes to the sound card of the run: by a configuration file that
// lies beside the library.
#pragma once

#include "sim/setup.h"

namespace k4sim {

// Names the file, and in it the library or the real device, in the environment of the process;
// instead of a configuration that the user asked for, which stays where the card is real and none
// was named. libasound reads them when it is first used.
void configure_alsa(const Setup& setup);

} // namespace k4sim
