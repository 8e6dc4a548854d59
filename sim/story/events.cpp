#include "sim/story/events.h"

#include <stdexcept>

namespace k4sim {

namespace {

constexpr std::size_t most_events = 5'000'000;
constexpr Microseconds latest = 1'000'000'000'000'000; // 30 years

[[noreturn]] void refuse(std::size_t number) {
    throw std::runtime_error("line " + std::to_string(number) + " of events.jsonl is no event");
}

// What "repeat" stands for; false when it says nothing that can be.
bool repeat(std::vector<Event>& events, const Json& event) {
    const auto lines = event.integer("lines"), times = event.integer("times");
    const auto every = event.integer("every");
    if (!lines || !times || !every || *lines < 1 || *times < 0 || *every < 0) return false;
    const auto pattern = static_cast<std::size_t>(*lines), count = static_cast<std::size_t>(*times);
    if (pattern > events.size() || (*times > 0 && *every > latest / *times)) return false;
    if (count > most_events / pattern || events.size() + count * pattern > most_events)
        throw std::runtime_error("events.jsonl tells of more events than can be told here");
    for (std::size_t left = count * pattern; left > 0; --left) {
        Event again = events[events.size() - pattern];
        again.t += *every;
        events.push_back(std::move(again));
    }
    return true;
}

} // namespace

std::vector<Event> read_events(std::string_view text) {
    std::vector<Event> events;
    std::size_t number = 0;
    for (std::size_t end = 0; (end = text.find('\n')) != std::string_view::npos;
         text.remove_prefix(end + 1)) {
        ++number;
        std::optional<Json> event = Json::parse(text.substr(0, end));
        const auto t = event ? event->integer("t") : std::nullopt;
        if (!t || *t < 0 || *t > latest || !event->text("source") || !event->text("event"))
            refuse(number);
        if (event->text("source") == "record") {
            if (!repeat(events, *event)) refuse(number);
            continue;
        }
        event->erase("t");
        const std::string line = event->dump();
        events.push_back({*t, std::make_shared<Happening>(Happening{std::move(*event), line})});
    }
    return events;
}

} // namespace k4sim
