#include "sim/campaign/sighting.h"

#include "sim/formats/json.h"
#include "sim/formats/short_number.h"
#include "sim/story/sources.h"

#include <algorithm>
#include <iterator>
#include <map>
#include <stdexcept>

namespace k4sim {

namespace {

// Texts that go on with levels or counts.
constexpr std::string_view counting[] = {"Silence/DC", "Loop gain", "In progress"};

constexpr std::string_view lamp_test_mode = "all-on";
constexpr Microseconds glance_us = 100'000; // of a lamp test, to have seen it

bool is_perceived(const Happening& what) {
    const std::string source = what.event.text("source").value_or("");
    return source == "panel" || source == "speaker" ||
           (source == "oled" && what.event.text("event") != "final-picture");
}

// The picture that the event names stands for itself, whatever its file is called.
Event with_picture(const Event& event, const Telling& telling) {
    const auto file = event.what->event.text("file");
    if (!file || !is_plain_png(*file)) return event;
    Json whole = event.what->event;
    whole.erase("file");
    return {event.t,
            std::make_shared<Happening>(Happening{whole, whole.dump() + telling.picture(*file)})};
}

// When the tone of an event is over by itself; empty of what is none.
std::optional<Microseconds> end_of_tone(const Event& event) {
    const auto length_ms = event.what->event.integer("ms");
    if (event.what->event.text("event") != "tone" || !length_ms) return std::nullopt;
    return event.t + *length_ms * 1000;
}

bool is_picture(const Event& event) { return event.what->event.text("event") == "picture"; }

// Of the pictures only that of the lamp test and the last one count; those between tell of levels
// and of what was pressed first.
void perceive(Sighting& seen) {
    std::string mode, last;
    Microseconds mode_since = 0;
    std::optional<Microseconds> tone_ends;
    for (const Event& event : seen.events) {
        const Happening& what = *event.what;
        if (const auto now = what.event.text("mode")) {
            if (mode == lamp_test_mode && event.t - mode_since >= glance_us)
                seen.perceived.insert("a lamp test");
            mode = *now;
            mode_since = event.t;
        }
        if (what.event.text("source") == "speaker") {
            if (tone_ends && event.t > *tone_ends) seen.perceived.insert("a tone without an end");
            tone_ends = end_of_tone(event);
        }
        if (is_picture(event))
            (mode == lamp_test_mode ? seen.lamp_test : last) = what.text;
        else if (is_perceived(what))
            seen.perceived.insert(what.text);
    }
    seen.perceived.insert("last " + last);
}

bool looks_and_sounds_alike(const Sighting& run, const Sighting& good) {
    const bool both_have_one = !run.lamp_test.empty() && !good.lamp_test.empty();
    return run.perceived == good.perceived && (!both_have_one || run.lamp_test == good.lamp_test);
}

std::map<std::string, std::string> last_texts(const Sighting& run) {
    std::map<std::string, std::string> texts;
    for (const StatusRow& row : run.rows)
        texts[row.label] = row.status();
    return texts;
}

const StatusRow* row_of(const Sighting& run, const std::string& unit) {
    const auto found = std::ranges::find(run.rows, unit, &StatusRow::label);
    return found == run.rows.end() ? nullptr : &*found;
}

bool tells(const std::string& unit, const Sighting& run, const Sighting& good) {
    const StatusRow* const row = row_of(run, unit);
    const StatusRow* const as_good = row_of(good, unit);
    return row != nullptr && (as_good == nullptr || row->status() != as_good->status());
}

// Whether the glass tells which rows they are.
bool all_readable(const Sighting& run, const Sighting& good) {
    return std::ranges::all_of(
        good.rows, [&](const StatusRow& row) { return row_of(run, row.label) != nullptr; });
}

// Whether the program did the same to all but the glass, in the same order.
bool acted_alike(const Sighting& run, const Sighting& good) {
    const auto acts = [](const Sighting& one) {
        std::vector<std::string_view> texts;
        for (const Event& event : one.events)
            if (event.what->event.text("source") != "oled") texts.push_back(event.what->text);
        return texts;
    };
    return acts(run) == acts(good);
}

// Since when it stood at its last text, but for levels and counts.
Microseconds came_to_rest(const StatusRow& row) {
    auto text = row.texts.rbegin();
    const std::string last = symptom_of(text->text);
    while (std::next(text) != row.texts.rend() && symptom_of(std::next(text)->text) == last)
        ++text;
    return text->at_us;
}

std::optional<Microseconds> parting(const Sighting& run, const Sighting& good) {
    const auto same = [](const Event& one, const Event& other) {
        return one.t == other.t && one.what->text == other.what->text;
    };
    const auto [in_run, in_good] = std::ranges::mismatch(run.events, good.events, same);
    if (in_run == run.events.end() && in_good == good.events.end()) return std::nullopt;
    if (in_run == run.events.end()) return in_good->t;
    return in_good == good.events.end() ? in_run->t : std::min(in_run->t, in_good->t);
}

Json smallest_of_each(const std::vector<Margin>& ledger) {
    std::vector<std::string> units;
    for (const Margin& margin : ledger)
        if (std::ranges::find(units, margin.unit) == units.end()) units.push_back(margin.unit);
    Json list = Json::array();
    for (const std::string& unit : units) {
        std::vector<Margin> of_unit;
        std::ranges::copy_if(ledger, std::back_inserter(of_unit),
                             [&](const Margin& margin) { return margin.unit == unit; });
        const Margin* const margin = smallest(of_unit);
        if (margin == nullptr || !margin->distance) continue;
        list.add(Json::object()
                     .set("unit", unit)
                     .set("quantity", margin->quantity)
                     .set("in", margin->in)
                     .set("distance", *margin->distance));
    }
    return list;
}

} // namespace

Sighting sighting_of(const std::string& folder) {
    const Telling telling = read_record(folder);
    if (telling.report.text("record") != "complete")
        throw std::runtime_error("the record of a run is cut; is there room in " + folder + "?");
    Sighting seen;
    seen.verdict = telling.report.text("verdict").value_or("");
    seen.rows = telling.story.rows;
    seen.ledger = telling.ledger;
    seen.left_safe = telling.report.flag("left_safe").value_or(false);
    seen.seconds = telling.report.number("seconds").value_or(0);
    for (const Event& event : read_events(telling.picture("events.jsonl")))
        if (event.what->event.text("source") != "fault")
            seen.events.push_back(with_picture(event, telling));
    perceive(seen);
    seen.signs = symptoms_of(telling).signs;
    return seen;
}

bool ended_well(const Sighting& run, const Sighting& good) {
    return run.verdict == good.verdict && (last_texts(run) == last_texts(good) ||
                                           (!all_readable(run, good) && acted_alike(run, good)));
}

std::string class_of(const SingleFault& fault, const Sighting& run, const Sighting& good) {
    if (run.verdict == "DIED") return "died";
    if (run.verdict == "UNDECIDED") return "blocked";
    if (ended_well(run, good)) return looks_and_sounds_alike(run, good) ? "escaped" : "operator";
    if (fault.unit.empty()) return "detected";
    if (run.verdict == "ABORTED" && !all_readable(run, good)) return "operator";
    return tells(fault.unit, run, good) ? "detected" : "misleading";
}

Json result_of(const SingleFault& fault, const Sighting& run, const Sighting& good) {
    const std::string found = class_of(fault, run, good);
    Json rows = Json::array();
    for (const StatusRow& row : run.rows)
        rows.add(Json::object().set("unit", row.label).set("text", row.status()));
    Json result = Json::object();
    result.set("fault", fault.fault)
        .set("board", fault.board)
        .set("unit", fault.unit)
        .set("expected", fault.expected)
        .set("why", fault.why)
        .set("class", found)
        .set("verdict", run.verdict)
        .set("rows", rows);
    if (const auto at = parting(run, good)) result.set("differs_at", in_seconds(*at));
    if (const StatusRow* const row = row_of(run, fault.unit); found == "detected" && row != nullptr)
        result.set("told_at", in_seconds(came_to_rest(*row)));
    return result.set("margins", smallest_of_each(run.ledger))
        .set("symptoms", as_json(run.signs))
        .set("left_safe", run.left_safe)
        .set("seconds", run.seconds);
}

std::string symptom_of(const std::string& text) {
    for (const std::string_view beginning : counting)
        if (text.starts_with(beginning)) return std::string(beginning);
    return text;
}

const std::vector<std::string>& class_names() {
    static const std::vector<std::string> names = {"detected", "misleading", "operator",
                                                   "escaped",  "blocked",    "died"};
    return names;
}

} // namespace k4sim
