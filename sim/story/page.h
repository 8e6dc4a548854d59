// report.html: the run as a story, in one file that needs nothing else.
#pragma once

#include "sim/formats/json.h"
#include "sim/story/margins.h"
#include "sim/story/story.h"

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace k4sim {

// What a page is made of.
struct Telling {
    std::string title;
    Json report = Json::object(); // report.json, or as much of it as is known
    Story story{};
    std::vector<Margin> ledger{};
    std::vector<std::string> notes{}; // sentences on what can't be known
    // The content of a picture file of the story; empty: there is none.
    std::function<std::string(const std::string& file)> picture{};
    std::optional<Json> diagnosis{}; // what may be broken, where something is
};

// The page begins with this.
inline constexpr std::string_view page_head = "<!DOCTYPE html>\n<!-- k4sim report -->\n";

// At most 2 MB: of what is too much for that a part is left out, and the page says so.
std::string page_of(const Telling& telling);

// Whether a name that was found in a record is that of a picture, and leads out of no folder.
bool is_plain_png(const std::string& name);

// The ledger as report.json tells it.
Json as_json(const std::vector<Margin>& ledger);

} // namespace k4sim
