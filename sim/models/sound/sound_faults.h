// What the faults of the list do to the sound card and its cables.
#pragma once

#include "sim/models/breaker.h"

#include <string_view>

namespace k4sim {

class SoundCard;

// False, and nothing is changed, for a fault that is not the sound card's, or can't be cleared. The
// board must have what is broken, and the value must fit (fault_error()).
bool work_on_sound_card(Work work, SoundCard& card, std::string_view name, std::string_view value);

} // namespace k4sim
