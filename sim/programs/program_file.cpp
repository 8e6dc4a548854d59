#include "sim/programs/program_file.h"

#include <array>
#include <climits>
#include <cstdint>
#include <elf.h>
#include <fstream>
#include <string_view>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

namespace k4sim {

namespace {

bool has_magic(const char* begin) { return std::string_view(begin, SELFMAG) == ELFMAG; }

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

// The loader takes no library from the environment for a program that is started with them.
bool has_own_rights(const std::string& path) {
    struct stat status {};
    if (stat(path.c_str(), &status) != 0) return false;
    constexpr mode_t set_group = S_ISGID | S_IXGRP; // without the latter it means locking
    if ((status.st_mode & S_ISUID) != 0 || (status.st_mode & set_group) == set_group) return true;
    return getxattr(path.c_str(), "security.capability", nullptr, 0) > 0;
}

} // namespace

bool is_elf(const std::string& path) {
    std::array<char, SELFMAG> begin{};
    std::ifstream file(path, std::ios::binary);
    return file.read(begin.data(), begin.size()) && has_magic(begin.data());
}

std::optional<WordSize> elf_word_size(const std::string& path) {
    Elf32_Ehdr header{}; // begins like its 64-bit form up to the machine
    std::ifstream file(path, std::ios::binary);
    if (!file.read(reinterpret_cast<char*>(&header), sizeof header)) return std::nullopt;
    if (!has_magic(reinterpret_cast<const char*>(header.e_ident)) ||
        (header.e_type != ET_EXEC && header.e_type != ET_DYN))
        return std::nullopt;
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

std::string obstacle_to_device(const std::string& path) {
    const auto size = elf_word_size(path);
    if (!size) return "is no i386 or x86-64 ELF program; name the program file itself";
    const std::string loader = elf_loader(path);
    if (loader.empty())
        return "is statically linked, so that the virtual device can't be loaded into it; link it "
               "dynamically";
    if (access(loader.c_str(), F_OK) != 0)
        return "needs the loader " + loader + ", which is not there; install " +
               (*size == WordSize::bits32 ? "libc6:i386" : "libc6:amd64");
    if (!loader.ends_with("/ld-linux.so.2") && !loader.ends_with("/ld-linux-x86-64.so.2"))
        return "is for another C library, with the loader " + loader + "; link it with glibc";
    if (has_own_rights(path))
        return "is set-uid, set-gid or has capabilities, so that the virtual device can't be "
               "loaded into it; run a copy without";
    return {};
}

std::string interpreter_of(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    std::string line;
    if (file.get() != '#' || file.get() != '!' || !std::getline(file, line)) return {};
    const std::size_t begin = line.find_first_not_of(" \t");
    if (begin == std::string::npos) return {};
    return line.substr(begin, line.find_first_of(" \t", begin) - begin);
}

std::string device_library(const std::string& folder, WordSize size) {
    for (const char* name : {"libk4sim.so", "libk4sim64.so"})
        if (elf_word_size(folder + name) == size) return name;
    return {};
}

} // namespace k4sim
