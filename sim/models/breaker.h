// How a part of the device carries out its faults and clears them: a table of breakers by name.
#pragma once

#include <algorithm>
#include <iterator>
#include <string_view>

namespace k4sim {

template <class Model>
struct Breaker {
    std::string_view name;
    void (*strike)(Model& model, std::string_view value);
    void (*mend)(Model& model, std::string_view value) = nullptr; // null: it passes by itself
};

enum class Work { strike, mend };

// Carries the fault out, or clears it as if it had not been; false when the table has none of that
// name, or nothing to clear.
template <class Table, class Model>
bool work_by_name(const Table& breakers, Work work, Model& model, std::string_view name,
                  std::string_view value) {
    const auto found = std::ranges::find(breakers, name, [](const auto& one) { return one.name; });
    if (found == std::end(breakers)) return false;
    const auto act = work == Work::strike ? found->strike : found->mend;
    if (act == nullptr) return false;
    act(model, value);
    return true;
}

} // namespace k4sim
