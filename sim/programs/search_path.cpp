#include "sim/programs/search_path.h"

#include <cstdlib>
#include <string_view>

namespace k4sim {

std::vector<std::string> paths_of(const std::string& name) {
    if (name.empty() || name.find('/') != std::string::npos) return {name};
    const char* path = std::getenv("PATH");
    std::string_view folders = path != nullptr ? path : "/bin:/usr/bin";
    std::vector<std::string> found;
    for (;;) {
        const std::size_t end = folders.find(':');
        std::string path_of_name(folders.substr(0, end));
        if (!path_of_name.empty()) path_of_name += '/';
        found.push_back(path_of_name.append(name));
        if (end == std::string_view::npos) return found;
        folders.remove_prefix(end + 1);
    }
}

} // namespace k4sim
