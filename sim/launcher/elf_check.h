// What kind of program a file is, and which library goes with it.
#pragma once

#include <optional>
#include <string>

namespace k4sim {

enum class WordSize { bits32, bits64 };

// The word size of an i386 or x86-64 ELF program or library; empty for any other file.
std::optional<WordSize> elf_word_size(const std::string& path);

// The loader that the ELF file names; empty when it names none: a statically linked
// program, a library, or no ELF file at all.
std::string elf_loader(const std::string& path);

// The path of the program: as given, or, for a name without a slash, found in PATH or at
// last in `fallback_folder`. Throws UsageError when there is none, or when it is no file
// that can be executed.
std::string find_program(const std::string& name, const std::string& fallback_folder);

// The word size of the program at `path`, which the user calls `name`. Throws UsageError
// for a file that is no i386 or x86-64 program, and for one that no library can be loaded
// into: it would reach for the real machine instead of the virtual device.
WordSize check_program(const std::string& name, const std::string& path);

// The library for programs of that word size in `folder`: libk4sim.so or libk4sim64.so.
// Throws UsageError when neither fits, or when the loader can't be told its path.
std::string find_library(const std::string& folder, WordSize size);

} // namespace k4sim
