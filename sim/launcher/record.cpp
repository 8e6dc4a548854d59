#include "sim/launcher/record.h"

#include "sim/formats/json.h"
#include "sim/launcher/repeats.h"
#include "sim/launcher/symbols.h"
#include "sim/operator/screen_reader.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <iterator>

#define STB_IMAGE_WRITE_IMPLEMENTATION
#define STB_IMAGE_WRITE_STATIC
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wunused-function"
#include <stb/stb_image_write.h>
#pragma GCC diagnostic pop

namespace k4sim {

namespace {

constexpr char events_file[] = "events.jsonl";
constexpr int full_white = 255;
constexpr int grey_max = 15;

int digit(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    return c >= 'a' && c <= 'f' ? c - 'a' + 10 : -1;
}

std::optional<Picture> picture_from(const std::string& pixels) {
    Picture picture{};
    if (pixels.size() != picture.size()) return std::nullopt;
    for (std::size_t i = 0; i < picture.size(); ++i) {
        const int grey = digit(pixels[i]);
        if (grey < 0) return std::nullopt;
        picture[i] = static_cast<std::uint8_t>(grey);
    }
    return picture;
}

void add_bytes(void* text, void* data, int size) {
    static_cast<std::string*>(text)->append(static_cast<const char*>(data),
                                            static_cast<std::size_t>(size));
}

std::string png_of(const Picture& picture) {
    std::array<std::uint8_t, std::tuple_size_v<Picture>> greys{};
    for (std::size_t i = 0; i < greys.size(); ++i)
        greys[i] = static_cast<std::uint8_t>(picture[i] * full_white / grey_max);
    std::string png;
    stbi_write_png_to_func(add_bytes, &png, glass_width, glass_height, 1, greys.data(),
                           glass_width);
    return png;
}

// offset: hexadecimal, as reported.
std::string place_of(const std::string& file, const std::string& offset) {
    if (file.empty()) return "an unknown place";
    const std::string symbol = symbol_at(file, std::strtoull(offset.c_str(), nullptr, 16));
    std::string place = file.substr(file.rfind('/') + 1) + "+" + offset;
    return symbol.empty() ? place : place + " (" + symbol + ")";
}

} // namespace

std::vector<std::string> Observation::unsafe() const {
    std::vector<std::string> left;
    std::ranges::copy_if(on, std::back_inserter(left),
                         [](const std::string& what) { return what != "display"; });
    return left;
}

Record::Record(const std::string& folder, const std::vector<Demand>& demands)
    : folder_(folder), demands_(demands.begin(), demands.end()) {}

template <class See>
void Record::watch(See see) {
    for (DemandWatch& demand : demands_)
        demand.each(see);
}

void Record::line(const std::string& text) {
    std::optional<Json> event = Json::parse(text);
    if (!event) return;
    const auto t = event->integer("t");
    const auto source = event->text("source");
    const auto what = event->text("event");
    if (!t || !source || !what) return;
    observation_.duration_us = std::max(observation_.duration_us, *t);
    if (*source == "plan" && *what == "sound-cut") {
        sound_gap_ = "the sound is cut: " + event->text("why").value_or("");
        return;
    }
    if (*source == "plan") {
        planned_ = *what + " " + std::to_string(event->integer("number").value_or(-1));
        observation_.struck.insert(planned_);
        return; // what it does is an event of its own
    }
    if (!event->has("cleared")) note_strike(*source, *what);
    watch([&](Sightings& sight) { sight.see_event(*t, *source, *what, *event); });
    if (*source == "console") console(*t, event->text("text").value_or(""));
    if (*source == "sound") note_power(*event, *what);
    if (*source == "speaker") {
        note_on("tone", *what != "silence");
        if (beeps_) beeps_->change(*t, event->integer("divider").value_or(0));
    }
    if (*source == "program") note_end(*event, *what);
    if (*what == "final-picture" && observation_.death) observation_.ended = true;
    if (event->has("pixels")) {
        const auto picture = picture_from(event->text("pixels").value_or(""));
        event->erase("pixels");
        if (!picture) return;
        look_at(*picture, *t);
        note_on("display", std::ranges::any_of(*picture, [](int grey) { return grey != 0; }));
        if (folder_.keeps()) event->set("file", keep(*picture, *what));
    }
    story_.see(*t, *event);
    if (!folder_.keeps()) return;
    times_.push_back(*t);
    folder_.append(events_file, event->dump() + "\n");
}

void Record::write_file(const std::string& name, const std::string& content) {
    folder_.write(name, content);
}

int Record::keep_sound() {
    beeps_.emplace();
    return folder_.make_sound_folder();
}

std::string Record::gap() const {
    if (!folder_.failure().empty()) return folder_.failure();
    if (!observation_.ended) return "the device library was cut off";
    return sound_gap_;
}

void Record::tidy_events() {
    if (!folder_.failure().empty() || times_.empty()) return;
    const std::string text = folder_.content(events_file);
    std::vector<EventLine> lines;
    std::string_view rest = text;
    for (const Microseconds t : times_) {
        lines.push_back({t, rest.substr(0, rest.find('\n') + 1)});
        rest.remove_prefix(lines.back().text.size());
    }
    if (lines.back().text.empty()) return; // no longer what was written
    std::ranges::stable_sort(lines, {}, &EventLine::t);
    folder_.write(events_file, fold_repeats(lines));
}

void Record::write_beeps() {
    if (!beeps_) return;
    const std::string name = std::string(sound_folder_name) + "/" + std::string(beeps_name);
    beeps_->write(observation_.duration_us,
                  [&](std::string_view piece) { folder_.append(name, piece); });
    if (!folder_.failure().empty()) folder_.remove(name);
}

std::vector<DemandResult> Record::demands() const {
    std::vector<DemandResult> results;
    for (const DemandWatch& demand : demands_)
        results.push_back(demand.result(observation_.duration_us));
    return results;
}

Story Record::story() const {
    Story story = story_;
    story.rows = observation_.rows;
    story.close();
    return story;
}

void Record::finish() {
    if (gap().empty()) folder_.complete();
}

// The report writes bytes as Latin-1 code points; here they become bytes again.
void Record::console(Microseconds t, std::string_view text) {
    std::string bytes;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const auto lead = static_cast<unsigned char>(text[i]);
        if (lead < 0x80 || i + 1 >= text.size()) {
            bytes += text[i];
        } else {
            bytes += static_cast<char>((lead & 0x03) << 6 |
                                       (static_cast<unsigned char>(text[++i]) & 0x3F));
        }
    }
    const std::size_t former = observation_.console.size();
    observation_.console += bytes;
    watch([&](Sightings& sight) { sight.see_console(t, observation_.console, former); });
    folder_.append("console.txt", bytes);
}

// A fault that counts first has struck only when what it counts for came.
void Record::note_strike(const std::string& source, const std::string& what) {
    constexpr std::pair<std::string_view, std::string_view> proofs[] = {
        {"fault thread-create", "program thread-refused"},
        {"fault serial-byte-lost", "serial byte-lost"},
        {"fault serial-byte-flipped", "serial byte-flipped"},
    };
    const std::string happened = source + " " + what;
    for (const auto& [fault, proof] : proofs)
        if (happened == fault) {
            observation_.struck.erase(planned_);
            armed_[std::string(proof)] = planned_;
        }
    if (const auto armed = armed_.find(happened); armed != armed_.end())
        observation_.struck.insert(armed->second);
}

// A program that dies tells so first and draws its last pictures then, as far as it comes.
void Record::note_end(const Json& event, const std::string& what) {
    constexpr std::pair<std::string_view, std::string_view> hopeless[] = {
        {"deadlock", "can never go on: every thread waits for another"},
        {"stall", "was ended, for no virtual time passed any more"},
        {"unplayed", "was ended at a port access that is not played"},
        {"no-pseudo-terminal", "was ended for want of a pseudo-terminal"},
    };
    for (const auto& [end, words] : hopeless)
        if (what == end) observation_.hopeless = words;
    if (what == "limit") observation_.limit = true;
    if (what == "stop") observation_.stopped = true;
    if (what == "died")
        observation_.death = {
            event.integer("thread").value_or(-1), event.text("address").value_or(""),
            place_of(event.text("file").value_or(""), event.text("offset").value_or(""))};
    if (what == "end" || what == "limit" || what == "stop" || observation_.hopeless == what)
        observation_.ended = true;
}

void Record::note_power(const Json& event, const std::string& what) {
    const auto input = event.integer("input");
    const auto on = event.flag("on");
    if (!input || !on) return;
    note_on((what == "phantom" ? "phantom power" : what) + " of input " + std::to_string(*input),
            *on);
}

void Record::note_on(const std::string& what, bool on) {
    if (on)
        observation_.on.insert(what);
    else
        observation_.on.erase(what);
}

// The status rows that can be read off it.
void Record::look_at(const Picture& picture, Microseconds t) {
    const std::vector<ScreenRow> rows = reader_.read(picture);
    watch([&](Sightings& sight) { sight.see_screen(t, rows); });
    for (std::size_t i = 0; i < rows.size(); ++i) {
        if (observation_.rows.size() <= i) observation_.rows.push_back({rows[i].label, {}});
        std::vector<Observation::Text>& texts = observation_.rows[i].texts;
        if (texts.empty() || texts.back().text != rows[i].status)
            texts.push_back({t, rows[i].status});
    }
}

// Returns the name of its file.
std::string Record::keep(const Picture& picture, std::string_view event) {
    std::array<char, 32> file{};
    if (event == "final-picture")
        std::snprintf(file.data(), file.size(), "oled-final.png");
    else
        std::snprintf(file.data(), file.size(), "oled-%04d.png", ++pictures_);
    folder_.write(file.data(), png_of(picture));
    return file.data();
}

} // namespace k4sim
