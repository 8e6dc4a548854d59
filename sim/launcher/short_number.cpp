#include "sim/launcher/short_number.h"

#include <array>
#include <cstdio>

namespace k4sim {

std::string short_number(double number) {
    std::array<char, 40> text{};
    std::snprintf(text.data(), text.size(), "%.10g", number);
    return text.data();
}

std::string short_seconds(std::int64_t time_us) {
    return short_number(static_cast<double>(time_us) / 1e6);
}

} // namespace k4sim
