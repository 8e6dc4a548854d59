#include "sim/launcher/elf_check.h"

#include "sim/launcher/options.h"
#include "sim/programs/search_path.h"

#include <filesystem>
#include <unistd.h>

namespace k4sim {

namespace {

bool is_program_file(const std::string& path) {
    std::error_code error;
    return std::filesystem::is_regular_file(path, error) && access(path.c_str(), X_OK) == 0;
}

std::string in_search_path(const std::string& name) {
    for (const std::string& path : paths_of(name))
        if (is_program_file(path)) return path;
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
    const std::string obstacle = obstacle_to_device(path);
    if (!obstacle.empty()) throw UsageError(name + " " + obstacle);
    return *elf_word_size(path);
}

std::string library_name(const std::string& folder, WordSize size) {
    std::string name = device_library(folder + "/", size);
    if (!name.empty()) return name;
    throw UsageError(std::string("no libk4sim for ") + (size == WordSize::bits32 ? "32" : "64") +
                     "-bit programs beside k4sim in " + folder + "; build the release preset");
}

} // namespace k4sim
