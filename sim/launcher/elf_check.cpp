#include "sim/launcher/elf_check.h"

#include "sim/launcher/options.h"

#include <cstdlib>
#include <filesystem>
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

} // namespace

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
    if (has_own_rights(path))
        throw UsageError(name + " is set-uid, set-gid or has capabilities, so that the virtual "
                                "device can't be loaded into it; run a copy without");
    return *size;
}

std::string library_name(const std::string& folder, WordSize size) {
    for (const char* name : {"libk4sim.so", "libk4sim64.so"})
        if (elf_word_size(folder + "/" + name) == size) return name;
    throw UsageError(std::string("no libk4sim for ") + (size == WordSize::bits32 ? "32" : "64") +
                     "-bit programs beside k4sim in " + folder + "; build the release preset");
}

} // namespace k4sim
