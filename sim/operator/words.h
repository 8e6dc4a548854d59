// The words of a line.
#pragma once

#include <string_view>
#include <vector>

namespace k4sim {

// What stands between blanks, one or many. Points into `line`.
std::vector<std::string_view> words_of(std::string_view line);

} // namespace k4sim
