// Landlock: which files a program can open.
#pragma once

#include <filesystem>
#include <vector>

namespace k4sim {

// A set of rules by which all files can be opened as before, but of /dev only what is no
// hardware, and the `real` ones, or what is in them; nor can device files be made. The result is
// its descriptor, or -1 when the kernel has no Landlock. Throws UsageError when a rule can't be
// made.
int make_device_rules(const std::vector<std::filesystem::path>& real);

// For the calling thread and what it starts and executes. False, with errno, when that can't be.
bool keep_to_rules(int rules);

} // namespace k4sim
