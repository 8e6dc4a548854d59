#include "sim/story/sources.h"

#include "sim/formats/short_number.h"
#include "sim/story/events.h"
#include "sim/story/readings.h"
#include "sim/story/reasons.h"

#include <array>
#include <cerrno>
#include <cmath>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <stdexcept>

namespace k4sim {

namespace {

namespace fs = std::filesystem;

constexpr std::size_t most_bytes = std::size_t{64} << 20;
constexpr std::string_view banner = "***** Vorlink K/4 selftest";
constexpr const char* marker = "k4sim-record";

std::string plain_name(const std::string& path) {
    const fs::path whole = fs::path(path).lexically_normal();
    return (whole.has_filename() ? whole.filename() : whole.parent_path().filename()).string();
}

Microseconds moment(const Json& object, std::string_view name) {
    constexpr double last_s = 1e12;
    const double seconds = object.number(name).value_or(0);
    if (!(seconds >= 0 && seconds < last_s)) return 0;
    return std::llround(seconds * static_cast<double>(us_per_second));
}

std::vector<StatusRow> rows_of(const Json& report) {
    std::vector<StatusRow> rows;
    for (const Json& unit : report.list("units")) {
        StatusRow row{unit.text("name").value_or(""), {}};
        for (const Json& text : unit.list("texts"))
            row.texts.push_back({moment(text, "at"), text.text("text").value_or("")});
        if (row.texts.empty())
            row.texts.push_back({moment(unit, "last_change"), unit.text("status").value_or("")});
        rows.push_back(row);
    }
    return rows;
}

// Each byte is a character of that number.
std::string from_latin1(std::string_view bytes) {
    std::string text;
    for (const char c : bytes) {
        const auto byte = static_cast<unsigned char>(c);
        if (byte < 0x80) {
            text += c;
        } else {
            text += static_cast<char>(0xC0 | byte >> 6);
            text += static_cast<char>(0x80 | (byte & 0x3F));
        }
    }
    return text;
}

struct Ending {
    std::string_view verdict, why;
};

Ending ending_of(std::optional<int> code) {
    if (!code) return {"UNDECIDED", "the console ends without the closing line of the self-test"};
    if (*code == 0) return {"PASSED", "all six rows read OK, as the closing line tells"};
    if (*code == -6) return {"ABORTED", "the operator ended the run"};
    if (*code >= -5 && *code < 0) return {"NOT STARTED", "a unit could not be started"};
    return {"DIED", "the closing line tells a status that the self-test does not have"};
}

Story story_of_console(std::string_view bytes) {
    Story story;
    story.timed = false;
    Microseconds t = 0;
    while (!bytes.empty()) {
        const std::size_t end = std::min(bytes.find('\n'), bytes.size() - 1);
        t += us_per_second;
        story.hear(t, from_latin1(bytes.substr(0, end + 1)));
        bytes.remove_prefix(end + 1);
    }
    story.end_us = t;
    story.close();
    return story;
}

} // namespace

Telling telling_of(const std::string& folder, const Json& report, const Story& story,
                   const RecordFile& file) {
    Telling telling{plain_name(folder),
                    report,
                    story,
                    ledger_of(story),
                    {"A text or picture that stood for less than half a second may be missing.",
                     "How strong the tone was while the test waited for the analog cable: the "
                     "console does not tell it."},
                    file};
    if (report.text("record") != "complete")
        telling.notes.emplace_back("The record is cut: what is not here may have happened.");
    return telling;
}

Telling read_record(const std::string& folder) {
    const RecordFile file = [folder](const std::string& name) {
        const std::string path = folder + "/" + name;
        std::error_code error;
        return fs::is_regular_file(path, error) ? read_file(path) : "";
    };
    if (file(marker).empty()) throw std::runtime_error(folder + " is no record of k4sim run");
    Story story;
    for (const Event& event : read_events(file("events.jsonl")))
        story.see(event.t, event.what->event);
    story.close();
    std::optional<Json> report = Json::parse(file("report.json"));
    if (!report || !report->text("verdict"))
        report = Json::object()
                     .set("verdict", "UNDECIDED")
                     .set("why", "the record is not complete: it has no report.json")
                     .set("record", "cut");
    story.rows = rows_of(*report);
    Telling telling = telling_of(folder, *report, story, file);
    if (!report->has("why")) telling.report.set("why", rows_not_ok(story.rows, telling.ledger));
    return telling;
}

Telling read_console(const std::string& name, std::string_view bytes) {
    const std::size_t start = bytes.rfind(banner);
    if (start == std::string_view::npos)
        throw std::runtime_error(name + " is no console of the self-test: it has no line \"" +
                                 std::string(banner) + " ...\"");
    Telling telling{plain_name(name)};
    telling.story = story_of_console(bytes.substr(start));
    const std::optional<int> code = readings_of(telling.story).exit_code;
    if (code == 0)
        for (const char* row : row_names)
            telling.story.rows.push_back({row, {{telling.story.end_us, "OK"}}});
    telling.ledger = ledger_of(telling.story);
    const Ending ending = ending_of(code);
    std::string why(ending.why);
    if (const Margin* worst = smallest(telling.ledger);
        worst != nullptr && worst->state == Margin::State::missed)
        why += "; smallest margin " + in_words(*worst);
    telling.report.set("verdict", ending.verdict).set("why", why);
    if (code) telling.report.set("status", *code & 0xFF);
    telling.notes = {
        "When something happened: a saved console has no times. Where this page names a line, it "
        "is that of the console, counted from the start of the self-test.",
        "What the six rows and the OLED showed, beyond what the closing line says of them.",
        "Cables, beeps, the lock of the AES receiver, and how many rounds, readings and passes "
        "were good.",
        "How strong the tone was while the test waited for the analog cable."};
    return telling;
}

std::string read_file(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    std::string content;
    std::array<char, 65536> piece{};
    while (file.read(piece.data(), piece.size()) || file.gcount() > 0) {
        content.append(piece.data(), static_cast<std::size_t>(file.gcount()));
        if (content.size() > most_bytes)
            throw std::runtime_error(path + " is larger than 64 MiB: too much for a report");
    }
    if (!file.eof()) throw std::runtime_error(path + " can't be read: " + std::strerror(errno));
    return content;
}

} // namespace k4sim
