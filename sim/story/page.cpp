#include "sim/story/page.h"

#include "sim/formats/short_number.h"
#include "sim/story/readings.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <map>

namespace k4sim {

namespace {

constexpr std::string_view page_text =
#include "sim/story/page/report.html.inc"
    ;
constexpr std::string_view style_text =
#include "sim/story/page/report.css.inc"
    ;
constexpr std::string_view script_text =
#include "sim/story/page/report.js.inc"
    ;

// What a page of less than 2 MB holds.
constexpr std::size_t most_pictures = 2000;
constexpr std::size_t most_picture_bytes = 1'100'000; // as they stand in the page
constexpr std::size_t largest_picture = 100'000;
constexpr std::size_t most_console_bytes = 200'000;
constexpr std::size_t most_texts = 400; // of a row
constexpr std::size_t most_marks = 800; // of a kind
constexpr std::size_t most_points = 2000;
constexpr std::size_t longest_words = 200;

double milliseconds(Microseconds t) { return std::round(in_seconds(t) * 1000) / 1000; }

std::string shortened(const std::string& text) {
    if (text.size() <= longest_words) return text;
    std::size_t end = longest_words;
    while (end > 0 && (static_cast<unsigned char>(text[end]) & 0xC0) == 0x80)
        --end; // not within a character
    return text.substr(0, end) + " ...";
}

std::string base64(std::string_view bytes) {
    constexpr std::string_view digits =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string text;
    for (std::size_t i = 0; i < bytes.size(); i += 3) {
        std::uint32_t group = 0;
        for (std::size_t k = 0; k < 3; ++k)
            group =
                group << 8 | (i + k < bytes.size() ? static_cast<unsigned char>(bytes[i + k]) : 0);
        for (std::size_t k = 0; k < 4; ++k)
            text += i + k <= bytes.size() ? digits[group >> (18 - 6 * k) & 63] : '=';
    }
    return text;
}

// A part of what is too much, from its beginning to its end alike, and the last one.
template <class Value>
std::vector<Value> thinned(const std::vector<Value>& all, std::size_t most) {
    if (all.size() <= most) return all;
    std::vector<Value> part;
    for (std::size_t i = 0; i < most; ++i)
        part.push_back(all[i * (all.size() - 1) / (most - 1)]);
    return part;
}

class Page {
public:
    explicit Page(const Telling& telling) : telling_(telling), story_(telling.story) {}

    std::string data();

private:
    template <class Value>
    std::vector<Value> some(const std::vector<Value>& all, std::size_t most,
                            const std::string& what);
    void note_part(std::size_t part, std::size_t all, const std::string& what);
    Json console();
    Json rows();
    Json marks();
    void add_points();
    Json facts() const;
    Json left() const;
    void add_pictures();

    const Telling& telling_;
    const Story& story_;
    const Readings readings_ = readings_of(story_);
    Json data_ = Json::object();
    std::vector<std::string> notes_ = telling_.notes;
};

Json list_of_texts(const std::vector<std::string>& texts) {
    Json list = Json::array();
    for (const std::string& text : texts)
        list.add(text);
    return list;
}

Json pair_of(const Json& first, const Json& second) { return Json::array().add(first).add(second); }

void Page::note_part(std::size_t part, std::size_t all, const std::string& what) {
    if (part < all)
        notes_.push_back("To keep this page small, it shows " + std::to_string(part) + " of " +
                         std::to_string(all) + " " + what + "; the record has all of them.");
}

template <class Value>
std::vector<Value> Page::some(const std::vector<Value>& all, std::size_t most,
                              const std::string& what) {
    note_part(std::min(all.size(), most), all.size(), what);
    return thinned(all, most);
}

// The beginning and the end.
Json Page::console() {
    const std::vector<StatusText>& lines = story_.console;
    std::size_t head = 0, tail = lines.size(), left = most_console_bytes / 2;
    const auto fits = [&left](const StatusText& line) {
        const std::size_t bytes = std::min(line.text.size(), longest_words) + 24; // as data
        if (bytes > left) return false;
        left -= bytes;
        return true;
    };
    while (head < tail && fits(lines[head]))
        ++head;
    left = most_console_bytes / 2;
    while (tail > head && fits(lines[tail - 1]))
        --tail;
    Json list = Json::array();
    for (std::size_t i = 0; i < lines.size(); ++i)
        if (i < head || i >= tail)
            list.add(pair_of(milliseconds(lines[i].at_us), shortened(lines[i].text)));
    note_part(head + lines.size() - tail, lines.size(),
              "lines of the console, from its beginning and its end");
    return list;
}

Json Page::rows() {
    Json list = Json::array();
    for (const StatusRow& row : story_.rows) {
        Json texts = Json::array();
        for (const StatusText& text : some(row.texts, most_texts, "texts of the row " + row.label))
            texts.add(pair_of(milliseconds(text.at_us), shortened(text.text)));
        list.add(Json::object().set("name", row.label).set("texts", texts));
    }
    return list;
}

Json Page::marks() {
    constexpr std::pair<Mark::Kind, std::string_view> kinds[] = {{Mark::Kind::key, "key"},
                                                                 {Mark::Kind::cable, "cable"},
                                                                 {Mark::Kind::fault, "fault"},
                                                                 {Mark::Kind::parallel, "parallel"},
                                                                 {Mark::Kind::beep, "beep"}};
    Json list = Json::array();
    for (const auto& [kind, name] : kinds) {
        std::vector<Mark> of_kind;
        std::ranges::copy_if(story_.marks, std::back_inserter(of_kind),
                             [kind = kind](const Mark& mark) { return mark.kind == kind; });
        for (const Mark& mark : some(of_kind, most_marks, "marks of the kind " + std::string(name)))
            list.add(
                Json::array().add(milliseconds(mark.at_us)).add(name).add(shortened(mark.words)));
    }
    return list;
}

void Page::add_points() {
    Json quiet = Json::array(), tones = Json::array(), locks = Json::array();
    for (const Quiet& cycle : some(readings_.quiet, most_points, "cycles of silence"))
        quiet.add(Json::array()
                      .add(milliseconds(cycle.at_us))
                      .add(cycle.rms[0])
                      .add(cycle.rms[1])
                      .add(cycle.dc[0])
                      .add(cycle.dc[1]));
    for (const Tone& tone : some(readings_.tones, most_points, "tones of the loop"))
        tones.add(Json::array()
                      .add(milliseconds(tone.at_us))
                      .add(tone.sweep)
                      .add(tone.hertz)
                      .add(tone.rms[0])
                      .add(tone.rms[1]));
    for (const AesLock& lock : some(story_.locks, most_points, "locks of the AES receiver"))
        locks.add(pair_of(milliseconds(lock.at_us), lock.rate_hz));
    data_.set("quiet", quiet)
        .set("tones", tones)
        .set("locks", locks)
        .set("gain", pair_of(readings_.lowest, readings_.highest))
        .set("noise_limit", noise_limit_db)
        .set("dc_limit", dc_limit_db);
}

// Each picture once. When they are too many, every second one goes until they fit.
void Page::add_pictures() {
    std::map<std::string, int> numbers; // of what is in the files
    std::vector<std::pair<Microseconds, std::string>> shown;
    for (const Glass& glass : thinned(story_.pictures, most_pictures)) {
        std::string png = is_plain_png(glass.file) ? telling_.picture(glass.file) : "";
        if (!png.starts_with("\x89PNG") || png.size() > largest_picture) continue;
        shown.emplace_back(glass.at_us, std::move(png));
    }
    const auto size = [&] {
        std::size_t bytes = 0;
        numbers.clear();
        for (const auto& [at_us, png] : shown)
            if (numbers.emplace(png, 0).second) bytes += png.size() * 4 / 3 + 40;
        return bytes;
    };
    while (shown.size() > 2 && size() > most_picture_bytes)
        shown = thinned(shown, shown.size() / 2 + 1);
    note_part(shown.size(), story_.pictures.size(), "pictures of the OLED");
    Json images = Json::array(), pictures = Json::array();
    numbers.clear();
    for (const auto& [at_us, png] : shown) {
        const auto [entry, is_new] = numbers.emplace(png, static_cast<int>(numbers.size()));
        if (is_new) images.add("data:image/png;base64," + base64(png));
        pictures.add(pair_of(milliseconds(at_us), entry->second));
    }
    data_.set("images", images).set("pictures", pictures);
}

Json Page::facts() const {
    const Json& report = telling_.report;
    Json list = Json::array();
    const auto add = [&list](const char* name, const std::string& value) {
        list.add(pair_of(name, value));
    };
    add("Run", telling_.title);
    if (const auto status = report.integer("status")) add("Exit status", std::to_string(*status));
    if (const auto signal = report.integer("signal")) add("Signal", std::to_string(*signal));
    if (story_.timed) add("Virtual time", short_number(milliseconds(story_.end_us)) + " s");
    if (const auto record = report.text("record")) add("Record", *record);
    if (const Margin* margin = smallest(telling_.ledger)) add("Smallest margin", in_words(*margin));
    return list;
}

Json Page::left() const {
    const Json& report = telling_.report;
    Json list = Json::array();
    for (const Json& what : report.list("left_on"))
        list.add(what.as_text() + " was left on.");
    if (report.has("left_safe") && report.list("left_on").empty()) list.add("Nothing was left on.");
    for (const Json& what : report.list("never_struck"))
        list.add("Never came: " + what.as_text() + ".");
    for (const Json& demand : report.list("demands"))
        list.add("Demand " + demand.text("place").value_or("") + ": " +
                 demand.text("demand").value_or("") +
                 (demand.flag("met").value_or(false) ? ": met." : ": not met."));
    if (!report.has("left_safe")) list.add("What was left on is not told.");
    return list;
}

std::string Page::data() {
    const Margin* const nearest = smallest(telling_.ledger);
    add_points();
    add_pictures();
    data_.set("verdict", telling_.report.text("verdict").value_or("UNDECIDED"))
        .set("why", telling_.report.text("why").value_or(""))
        .set("timed", story_.timed)
        .set("end", milliseconds(story_.end_us))
        .set("rows", rows())
        .set("console", console())
        .set("marks", marks())
        .set("margins", as_json(telling_.ledger))
        .set("nearest",
             nearest == nullptr ? -1 : static_cast<int>(nearest - telling_.ledger.data()))
        .set("facts", facts())
        .set("left", left());
    if (telling_.diagnosis) data_.set("diagnosis", *telling_.diagnosis);
    return data_.set("notes", list_of_texts(notes_)).dump();
}

// So that nothing in it ends the element that it stands in.
std::string without_tags(const std::string& json) {
    std::string text;
    for (const char c : json)
        if (c == '<')
            text += "\\u003c";
        else
            text += c;
    return text;
}

std::string as_html(const std::string& text) {
    std::string safe;
    for (const char c : text)
        safe += c == '<' ? "&lt;" : c == '&' ? "&amp;" : std::string(1, c);
    return safe;
}

} // namespace

std::string page_of(const Telling& telling) {
    const std::pair<std::string_view, std::string> parts[] = {
        {"@TITLE@", as_html(telling.report.text("verdict").value_or("") + " - " + telling.title)},
        {"@STYLE@", std::string(style_text)},
        {"@DATA@", without_tags(Page(telling).data())},
        {"@SCRIPT@", std::string(script_text)}};
    std::string page;
    std::string_view rest = page_text;
    for (const auto& [place, part] : parts) {
        const std::size_t at = rest.find(place);
        page.append(rest.substr(0, at)).append(part);
        rest.remove_prefix(at + place.size());
    }
    return page.append(rest);
}

bool is_plain_png(const std::string& name) {
    return name.starts_with("oled-") && name.ends_with(".png") &&
           name.find('/') == std::string::npos;
}

Json as_json(const std::vector<Margin>& ledger) {
    Json list = Json::array();
    for (const Margin& margin : ledger) {
        Json entry = Json::object()
                         .set("unit", margin.unit)
                         .set("quantity", margin.quantity)
                         .set("in", margin.in)
                         .set("state", name_of(margin.state));
        if (margin.limit) entry.set("limit", *margin.limit);
        if (margin.worst)
            entry.set("worst", *margin.worst)
                .set("distance", *margin.distance)
                .set("at", milliseconds(margin.at_us));
        list.add(entry);
    }
    return list;
}

} // namespace k4sim
