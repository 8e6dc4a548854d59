#include "sim/operator/words.h"

namespace k4sim {

std::vector<std::string_view> words_of(std::string_view line) {
    std::vector<std::string_view> words;
    while (!line.empty()) {
        const std::size_t blank = line.find(' ');
        if (blank != 0) words.push_back(line.substr(0, blank));
        line.remove_prefix(blank == std::string_view::npos ? line.size() : blank + 1);
    }
    return words;
}

} // namespace k4sim
