#include "sim/formats/short_number.h"

#include <array>
#include <cmath>
#include <cstdio>

namespace k4sim {

namespace {

constexpr double seconds_max = 1e9;

} // namespace

std::string short_number(double number) {
    std::array<char, 40> text{};
    std::snprintf(text.data(), text.size(), "%.10g", number);
    return text.data();
}

std::string with_decimals(double number, int decimals) {
    std::array<char, 400> text{};
    std::snprintf(text.data(), text.size(), "%.*f", decimals, number);
    return text.data();
}

double in_seconds(Microseconds time) {
    return static_cast<double>(time) / static_cast<double>(us_per_second);
}

std::string short_seconds(Microseconds time) { return short_number(in_seconds(time)); }

bool is_factor(std::optional<double> number) {
    return number && std::isfinite(*number) && *number > 0;
}

std::optional<Microseconds> from_seconds(std::optional<double> seconds) {
    if (!seconds || !(*seconds >= 0) || *seconds > seconds_max) return std::nullopt;
    return std::llround(*seconds * static_cast<double>(us_per_second));
}

} // namespace k4sim
