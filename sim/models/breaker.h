// How a part of the device carries out its faults: a table of breakers by name.
#pragma once

#include <algorithm>
#include <iterator>
#include <string_view>

namespace k4sim {

template <class Model>
struct Breaker {
    std::string_view name;
    void (*strike)(Model& model, std::string_view value);
};

// Carries the fault out; false when the table has none of that name.
template <class Table, class Model>
bool strike_by_name(const Table& breakers, Model& model, std::string_view name,
                    std::string_view value) {
    const auto found = std::ranges::find(breakers, name, [](const auto& one) { return one.name; });
    if (found == std::end(breakers)) return false;
    found->strike(model, value);
    return true;
}

} // namespace k4sim
