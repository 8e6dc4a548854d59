#include "sim/launcher/repeats.h"

#include "sim/formats/json.h"

#include <algorithm>

namespace k4sim {

namespace {

constexpr std::size_t longest_pattern = 16;
constexpr std::size_t fewest_repeats = 3;

struct Repeats {
    std::size_t length = 1; // lines of the pattern
    std::size_t times = 0;  // that it comes again
    Microseconds every = 0;

    std::size_t covered() const { return times * length; }
};

std::string_view without_time(const EventLine& line) {
    return line.text.substr(line.text.find(','));
}

// How often the first lines come again.
Repeats repeats_of(std::span<const EventLine> lines, std::size_t length) {
    const Microseconds every = lines[length].t - lines[0].t;
    const auto comes_again = [&](const EventLine& line, const EventLine& later) {
        return later.t - line.t == every && without_time(later) == without_time(line);
    };
    std::size_t same = 0;
    while (same + length < lines.size() && comes_again(lines[same], lines[same + length]))
        ++same;
    return {length, same / length, every};
}

// Of the patterns that begin here the one that saves most.
Repeats best_repeats(std::span<const EventLine> lines) {
    Repeats best;
    for (std::size_t length = 1; length <= longest_pattern && length < lines.size(); ++length) {
        const Repeats found = repeats_of(lines, length);
        if (found.times >= fewest_repeats && found.covered() > best.covered()) best = found;
    }
    return best;
}

std::string repeat_line(Microseconds t, const Repeats& repeats) {
    return Json::object()
               .set("t", t)
               .set("source", "record")
               .set("event", "repeat")
               .set("lines", static_cast<std::int64_t>(repeats.length))
               .set("every", repeats.every)
               .set("times", static_cast<std::int64_t>(repeats.times))
               .dump() +
           "\n";
}

} // namespace

std::string fold_repeats(std::span<const EventLine> lines) {
    std::string text;
    while (!lines.empty()) {
        const Repeats repeats = best_repeats(lines);
        for (const EventLine& line : lines.first(repeats.length))
            text += line.text;
        lines = lines.subspan(repeats.length);
        if (repeats.times > 0) text += repeat_line(lines[0].t, repeats);
        lines = lines.subspan(repeats.covered());
    }
    return text;
}

} // namespace k4sim
