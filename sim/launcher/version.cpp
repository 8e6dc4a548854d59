#include "sim/launcher/version.h"

namespace k4sim {

const char* const version_line = "k4sim " K4_VERSION "\n";

} // namespace k4sim
