// How libasound in this process comes to the virtual sound card: by a configuration file
// that lies beside the library.
#pragma once

namespace k4sim {

// Names the file, and in it the library, in the environment of the process; instead of a
// configuration that the user asked for. libasound reads them when it is first used.
void configure_alsa();

} // namespace k4sim
