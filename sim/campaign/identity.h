// What results come from, so that those of another program are not taken for its own.
#pragma once

#include <string>

namespace k4sim {

// 16 hexadecimal digits of what the file holds (FNV-1a). Throws std::runtime_error when it can't be
// read.
std::string fingerprint(const std::string& path);

} // namespace k4sim
