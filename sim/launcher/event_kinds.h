// The kinds of event that a record may hold.
#pragma once

#include <string_view>
#include <vector>

namespace k4sim {

struct EventKind {
    std::string_view source;
    std::vector<std::string_view> names;
    std::vector<std::string_view> members; // of any of them, beside time, source and name
};

// In the order of docs/record.md.
const std::vector<EventKind>& event_kinds();

// Their sources.
std::vector<std::string_view> event_sources();

// Null for an unknown source.
const EventKind* find_event_kind(std::string_view source);

} // namespace k4sim
