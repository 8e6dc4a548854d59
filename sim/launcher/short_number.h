// Numbers for people.
#pragma once

#include <cstdint>
#include <string>

namespace k4sim {

// Without needless digits: "0.75", "600".
std::string short_number(double number);

// A virtual time in seconds.
std::string short_seconds(std::int64_t time_us);

} // namespace k4sim
