#include "sim/launcher/panel_page.h"

#include <algorithm>
#include <iterator>

namespace k4sim {

namespace {

constexpr std::string_view html = "text/html; charset=utf-8";
constexpr std::string_view css = "text/css; charset=utf-8";
constexpr std::string_view script = "text/javascript; charset=utf-8";

// clang-format off
constexpr PageFile page_files[] = {
    {"/", html,
#include "sim/panel/page/index.html.inc"
    },
    {"/panel.css", css,
#include "sim/panel/page/panel.css.inc"
    },
    {"/panel.js", script,
#include "sim/panel/page/panel.js.inc"
    },
    {"/device.js", script,
#include "sim/panel/page/device.js.inc"
    },
    {"/diagnosis.js", script,
#include "sim/panel/page/diagnosis.js.inc"
    },
    {"/faults.js", script,
#include "sim/panel/page/faults.js.inc"
    },
    {"/link.js", script,
#include "sim/panel/page/link.js.inc"
    },
    {"/meters.js", script,
#include "sim/panel/page/meters.js.inc"
    },
};
// clang-format on

} // namespace

const PageFile* find_page_file(std::string_view path) {
    const auto found = std::ranges::find(page_files, path, &PageFile::path);
    return found == std::end(page_files) ? nullptr : &*found;
}

} // namespace k4sim
