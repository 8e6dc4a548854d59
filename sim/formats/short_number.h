// Numbers as people read and write them.
#pragma once

#include "sim/models/surroundings.h"

#include <optional>
#include <string>

namespace k4sim {

// Without needless digits: "0.75", "600".
std::string short_number(double number);

// With so many digits behind the point.
std::string with_decimals(double number, int decimals);

// A virtual time in seconds, as a number and as such a text.
double in_seconds(Microseconds time);
std::string short_seconds(Microseconds time);

// Whether it is a number above 0, and a finite one.
bool is_factor(std::optional<double> number);

// Empty for what is no number, or not within 0 to a thousand million seconds.
std::optional<Microseconds> from_seconds(std::optional<double> seconds);

} // namespace k4sim
