#include "sim/launcher/elf_check.h"

#include "sim/launcher/options.h"

#include <array>
#include <climits>
#include <cstdint>
#include <cstdlib>
#include <elf.h>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <unistd.h>

namespace k4sim {

namespace {

bool is_program_file(const std::string& path) {
    std::error_code error;
    return std::filesystem::is_regular_file(path, error) && access(path.c_str(), X_OK) == 0;
}

std::string in_search_path(const std::string& name) {
    const char* folders = std::getenv("PATH");
    std::istringstream list(folders != nullptr ? folders : "");
    for (std::string folder; std::getline(list, folder, ':');) {
        std::string candidate = (folder.empty() ? "." : folder) + "/" + name;
        if (is_program_file(candidate)) return candidate;
    }
    return {};
}

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

std::string find_program(const std::string& name, const std::string& fallback_folder) {
    std::string path = name;
    if (name.find('/') == std::string::npos) {
        path = in_search_path(name);
        if (path.empty()) path = fallback_folder + "/" + name;
    }
    std::error_code error;
    if (!std::filesystem::exists(path, error))
        throw UsageError(name + " does not exist; name the program to run, with its path");
    if (!std::filesystem::is_regular_file(path, error))
        throw UsageError(name + " is not a file; name the program to run");
    if (access(path.c_str(), X_OK) != 0)
        throw UsageError(name + " is not executable; chmod +x makes it so");
    return path;
}

WordSize check_program(const std::string& name, const std::string& path) {
    const auto size = elf_word_size(path);
    if (!size)
        throw UsageError(name + " is no i386 or x86-64 ELF program; name the program file itself");
    const std::string loader = elf_loader(path);
    if (loader.empty())
        throw UsageError(name + " is statically linked, so that the virtual device can't be loaded "
                                "into it; link it dynamically");
    if (!std::filesystem::exists(loader))
        throw UsageError(name + " needs the loader " + loader + ", which is not there; install " +
                         (*size == WordSize::bits32 ? "libc6:i386" : "libc6:amd64"));
    return *size;
}

std::string find_library(const std::string& folder, WordSize size) {
    for (const char* name : {"libk4sim.so", "libk4sim64.so"}) {
        std::string path = folder + "/" + name;
        if (elf_word_size(path) != size) continue;
        if (path.find_first_of(" :") != std::string::npos)
            throw UsageError(path + " can't be loaded: the loader knows no names with a blank or a "
                                    "colon; move the build folder");
        return path;
    }
    throw UsageError(std::string("no libk4sim for ") + (size == WordSize::bits32 ? "32" : "64") +
                     "-bit programs beside k4sim in " + folder + "; build the release preset");
}

} // namespace k4sim
