// What kind of program a file is: whether a library can be loaded into it, and which.
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

// Whether the system starts the file with rights of its own: set-uid, set-gid, or with
// capabilities. The loader takes no library from the environment for such a program.
bool has_own_rights(const std::string& path);

} // namespace k4sim
