// What kind of program a file is: whether a library can be loaded into it, and which.
#pragma once

#include <optional>
#include <string>

namespace k4sim {

enum class WordSize { bits32, bits64 };

// An ELF file, for whichever machine.
bool is_elf(const std::string& path);

// The word size of an i386 or x86-64 ELF program or library; empty for any other file.
std::optional<WordSize> elf_word_size(const std::string& path);

// The loader that the ELF file names; empty when it names none: a statically linked
// program, a library, or no ELF file at all.
std::string elf_loader(const std::string& path);

// Why the device library can't be loaded into the program, as what follows its name in a
// message; empty when it can.
std::string obstacle_to_device(const std::string& path);

// The interpreter that a script names in its first line; empty for any other file.
std::string interpreter_of(const std::string& path);

// The name of the library for programs of that word size in `folder`, which ends with a slash:
// libk4sim.so or libk4sim64.so; empty when neither fits.
std::string device_library(const std::string& folder, WordSize size);

} // namespace k4sim
