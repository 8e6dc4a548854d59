#include "sim/story/story.h"

#include "sim/formats/json.h"

#include <algorithm>
#include <utility>

namespace k4sim {

namespace {

std::string text_of(const Json& event, std::string_view name) {
    return event.text(name).value_or("");
}

std::string knob_turned(const Json& event) {
    const bool left = event.integer("step").value_or(0) < 0;
    return "knob " + std::to_string(event.integer("encoder").value_or(0)) +
           (left ? " to the left" : " to the right");
}

std::string fault_words(const Json& event, const std::string& what) {
    const std::string value = text_of(event, "value");
    return what + (value.empty() ? "" : "=" + value) + (event.has("cleared") ? " cleared" : "");
}

std::string tone_words(const Json& event, const std::string& what) {
    const auto hertz = event.integer("hz");
    if (!hertz) return what;
    const auto length_ms = event.integer("ms");
    return std::to_string(*hertz) + " Hz" +
           (length_ms ? ", " + std::to_string(*length_ms) + " ms" : "");
}

std::string bits_of(std::int64_t byte) {
    std::string bits;
    for (int line = 0; line < 8; ++line)
        bits += (byte >> line & 1) != 0 ? '1' : '0';
    return bits;
}

} // namespace

void Story::see(Microseconds t, const Json& event) {
    const std::string source = text_of(event, "source");
    const std::string what = text_of(event, "event");
    const auto mark = [&](Mark::Kind kind, const std::string& words) {
        marks.push_back({t, kind, words});
    };
    end_us = std::max(end_us, t);
    if (source == "console") hear(t, text_of(event, "text"));
    if (source == "operator" && what == "press") mark(Mark::Kind::key, text_of(event, "key"));
    if (source == "operator" && what == "turn") mark(Mark::Kind::key, knob_turned(event));
    if (source == "operator" && event.has("cable"))
        mark(Mark::Kind::cable, what + " " + text_of(event, "cable"));
    if (source == "fault") mark(Mark::Kind::fault, fault_words(event, what));
    if (source == "speaker" && what != "silence") mark(Mark::Kind::beep, tone_words(event, what));
    if (source == "parallel")
        mark(Mark::Kind::parallel, "driven " + bits_of(event.integer("driven").value_or(0)) +
                                       ", read " + bits_of(event.integer("read").value_or(0)));
    if (source == "aes" && what != "transmitter")
        locks.push_back(
            {t, what == "lock" ? static_cast<int>(event.integer("rate").value_or(0)) : 0});
    if (source == "oled" && event.has("file")) pictures.push_back({t, text_of(event, "file")});
}

void Story::hear(Microseconds t, const std::string& text) {
    for (const char c : text) {
        if (line_.text.empty()) line_.at_us = t;
        if (c == '\n') {
            console.push_back(std::exchange(line_, {}));
        } else if (c != '\r') {
            line_.text += c;
        }
    }
}

void Story::close() {
    if (!line_.text.empty()) console.push_back(std::exchange(line_, {}));
    std::ranges::stable_sort(console, {}, &StatusText::at_us);
    std::ranges::stable_sort(marks, {}, &Mark::at_us);
    std::ranges::stable_sort(locks, {}, &AesLock::at_us);
    std::ranges::stable_sort(pictures, {}, &Glass::at_us);
}

const StatusRow* Story::row(const std::string& label) const {
    const auto found = std::ranges::find(rows, label, &StatusRow::label);
    return found == rows.end() ? nullptr : &*found;
}

} // namespace k4sim
