// The right word for a wrong one.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace k4sim {

// The candidate that takes the fewest changes of a letter, upper or lower case being the same; of
// several the first. Empty when every one takes more changes than half of its letters.
std::string_view nearest(std::string_view wrong, const std::vector<std::string_view>& candidates);

// "; did you mean RIGHT?" with the nearest; empty without one.
std::string did_you_mean(std::string_view wrong, const std::vector<std::string_view>& candidates);

// "A, B or C".
std::string alternatives(const std::vector<std::string_view>& words);

// What is said of a wrong choice: "there is no KIND "WRONG"; choose A, B or C", and what may be
// meant.
std::string no_such(std::string_view kind, std::string_view wrong,
                    const std::vector<std::string_view>& choices);

} // namespace k4sim
