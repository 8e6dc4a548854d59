// The files of the page, as they lie in sim/panel/page.
#pragma once

#include <string_view>

namespace k4sim {

struct PageFile {
    std::string_view path; // "/" is the page itself
    std::string_view type;
    std::string_view content;
};

// Null for a path that is none of theirs.
const PageFile* find_page_file(std::string_view path);

} // namespace k4sim
