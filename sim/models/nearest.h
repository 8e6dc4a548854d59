// The right word for a wrong one.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace k4sim {

// The candidates that `wrong` is a part of; without any, those that take the fewest changes of a
// letter, upper or lower case being the same, and no more than half of their letters. The first
// three of them.
std::vector<std::string_view> nearest_ones(std::string_view wrong,
                                           const std::vector<std::string_view>& candidates);

// The first of them; empty when there is none.
std::string_view nearest(std::string_view wrong, const std::vector<std::string_view>& candidates);

// "; did you mean A, B or C?" with the nearest ones; empty without any.
std::string did_you_mean(std::string_view wrong, const std::vector<std::string_view>& candidates);

// "A, B or C".
std::string alternatives(const std::vector<std::string_view>& words);

// What is said of a wrong choice: "there is no KIND "WRONG"; choose A, B or C", and what may be
// meant.
std::string no_such(std::string_view kind, std::string_view wrong,
                    const std::vector<std::string_view>& choices);

} // namespace k4sim
