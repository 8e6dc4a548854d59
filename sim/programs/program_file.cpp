#include "sim/programs/program_file.h"

#include <array>
#include <climits>
#include <cstdint>
#include <elf.h>
#include <fstream>
#include <string_view>
#include <sys/stat.h>
#include <sys/xattr.h>

namespace k4sim {

namespace {

template <class Value>
bool read_at(std::ifstream& file, std::uint64_t offset, Value& value) {
    file.seekg(static_cast<std::streamoff>(offset));
    return static_cast<bool>(file.read(reinterpret_cast<char*>(&value), sizeof value));
}

template <class Header, class Segment>
std::string loader_named_in(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    Header header{};
    if (!read_at(file, 0, header) || header.e_phentsize != sizeof(Segment)) return {};
    for (unsigned i = 0; i < header.e_phnum; ++i) {
        Segment segment{};
        if (!read_at(file, header.e_phoff + i * sizeof segment, segment)) return {};
        if (segment.p_type != PT_INTERP) continue;
        std::array<char, PATH_MAX> name{};
        file.seekg(static_cast<std::streamoff>(segment.p_offset));
        file.getline(name.data(), name.size(), '\0');
        return file.good() ? name.data() : "";
    }
    return {};
}

} // namespace

std::optional<WordSize> elf_word_size(const std::string& path) {
    Elf32_Ehdr header{}; // begins like its 64-bit form up to the machine
    std::ifstream file(path, std::ios::binary);
    if (!file.read(reinterpret_cast<char*>(&header), sizeof header)) return std::nullopt;
    if (std::string_view(reinterpret_cast<const char*>(header.e_ident), SELFMAG) != ELFMAG)
        return std::nullopt;
    if (header.e_type != ET_EXEC && header.e_type != ET_DYN) return std::nullopt;
    const unsigned char elf_class = header.e_ident[EI_CLASS];
    if (elf_class == ELFCLASS32 && header.e_machine == EM_386) return WordSize::bits32;
    if (elf_class == ELFCLASS64 && header.e_machine == EM_X86_64) return WordSize::bits64;
    return std::nullopt;
}

std::string elf_loader(const std::string& path) {
    const auto size = elf_word_size(path);
    if (!size) return {};
    return *size == WordSize::bits32 ? loader_named_in<Elf32_Ehdr, Elf32_Phdr>(path)
                                     : loader_named_in<Elf64_Ehdr, Elf64_Phdr>(path);
}

bool has_own_rights(const std::string& path) {
    struct stat status {};
    if (stat(path.c_str(), &status) != 0) return false;
    constexpr mode_t set_group = S_ISGID | S_IXGRP; // without the latter it means locking
    if ((status.st_mode & S_ISUID) != 0 || (status.st_mode & set_group) == set_group) return true;
    return getxattr(path.c_str(), "security.capability", nullptr, 0) > 0;
}

} // namespace k4sim
