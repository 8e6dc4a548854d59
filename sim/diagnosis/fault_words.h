// A fault in a sentence.
#pragma once

#include <string>

namespace k4sim {

// fault: as after --fault. "key 5 never reports that it is pressed"; of a place in the models, such
// as "parallel.in.bit3=stuck-0", "bit 3 of in of parallel is stuck at 0".
std::string fault_in_words(const std::string& fault);

} // namespace k4sim
