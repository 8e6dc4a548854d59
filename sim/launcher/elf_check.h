// Which program is meant, whether it can be run, and which library goes with it.
#pragma once

#include "sim/programs/program_file.h"

#include <string>

namespace k4sim {

// The path of the program: as given, or, for a name without a slash, found in PATH or at
// last in `fallback_folder`. Throws UsageError when there is none, or when it is no file
// that can be executed.
std::string find_program(const std::string& name, const std::string& fallback_folder);

// The word size of the program at `path`, which the user calls `name`. Throws UsageError
// for a file that is no i386 or x86-64 program, and for one that no library can be loaded
// into: it would reach for the real machine instead of the virtual device.
WordSize check_program(const std::string& name, const std::string& path);

// The library for programs of that word size in `folder`: libk4sim.so or libk4sim64.so.
// Throws UsageError when neither fits.
std::string library_name(const std::string& folder, WordSize size);

} // namespace k4sim
