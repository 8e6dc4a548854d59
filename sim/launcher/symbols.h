// The names in a program or library, for people who look for the place where it died.
#pragma once

#include <cstdint>
#include <string>

namespace k4sim {

// The function that holds the address (as linked, before the file was loaded anywhere), in C++
// as in its source; empty when the file names none there, or can't be read.
std::string symbol_at(const std::string& path, std::uint64_t address);

} // namespace k4sim
