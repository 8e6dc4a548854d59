// Landlock: which files a program can open.
#pragma once

namespace k4sim {

// A set of rules by which all files can be opened as before, but of /dev only what is no
// hardware; nor can device files be made. The result is its descriptor, or -1 when the kernel
// has no Landlock. Throws UsageError when a rule can't be made.
int make_device_rules();

// For the calling thread and what it starts and executes. False, with errno, when that can't be.
bool keep_to_rules(int rules);

} // namespace k4sim
