// What a plain name of a program means.
#pragma once

#include <string>
#include <vector>

namespace k4sim {

// Each path that the name may mean, the first that can be executed being it: the name itself if
// it has a slash, else that name in each folder of PATH, as libc's execvp looks for it.
std::vector<std::string> paths_of(const std::string& name);

} // namespace k4sim
