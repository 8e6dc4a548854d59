#include "sim/launcher/event_kinds.h"

#include "sim/models/faults.h"

#include <algorithm>
#include <iterator>

namespace k4sim {

const std::vector<EventKind>& event_kinds() {
    static const std::vector<EventKind> kinds = {
        {"aes", {"lock", "unlock", "transmitter"}, {"rate", "on"}},
        {"console", {"text"}, {"stream", "text"}},
        {"cpld",
         {"link-reset", "microphone", "watchdog", "protocol-error"},
         {"boost", "phantom", "value", "why", "count"}},
        {"fault", fault_names(), {"value", "cleared"}},
        {"link", {"up", "down", "present", "absent", "request-refused"}, {"interface", "count"}},
        {"oled",
         {"power", "mode", "contrast", "picture", "final-picture", "protocol-error"},
         {"on", "mode", "value", "file", "why", "byte", "count"}},
        {"operator",
         {"press", "release", "turn", "plug", "unplug"},
         {"key", "encoder", "step", "cable"}},
        {"panel", {"led", "protocol-error"}, {"pattern", "why", "byte", "count"}},
        {"parallel", {"mismatch"}, {"driven", "read", "count"}},
        {"program",
         {"open", "close", "real", "iopl", "thread-start", "thread-end", "thread-refused", "stands",
          "died", "deadlock", "stall", "unplayed", "no-pseudo-terminal", "limit", "stop", "end"},
         {"device", "present", "role", "names", "thread", "place", "level", "granted", "signal",
          "address", "accessed", "file", "offset"}},
        {"serial",
         {"plugged", "unplugged", "numbered", "settings", "settings-refused", "output-refused",
          "speed-mismatch", "byte-lost", "byte-flipped", "overrun", "sent", "received"},
         {"adapter", "device", "baud", "raw", "sent_baud", "received_baud", "from", "sent",
          "text"}},
        {"sound",
         {"control", "boost", "phantom", "start", "underrun", "overrun", "analog-cable",
          "digital-cable"},
         {"element", "values", "input", "on", "device", "stream", "position", "fitted", "plugged"}},
        {"speaker", {"tone", "sound", "silence"}, {"divider", "hz", "ms"}},
    };
    return kinds;
}

std::vector<std::string_view> event_sources() {
    std::vector<std::string_view> sources;
    std::ranges::transform(event_kinds(), std::back_inserter(sources), &EventKind::source);
    return sources;
}

const EventKind* find_event_kind(std::string_view source) {
    const auto found = std::ranges::find(event_kinds(), source, &EventKind::source);
    return found == event_kinds().end() ? nullptr : &*found;
}

} // namespace k4sim
