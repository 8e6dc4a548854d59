#include "sim/launcher/verdict.h"

#include "sim/formats/json.h"
#include "sim/formats/short_number.h"
#include "sim/launcher/diagnose.h"
#include "sim/models/nearest.h"
#include "sim/story/sources.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <iterator>
#include <sstream>
#include <vector>

namespace k4sim {

namespace {

struct Name {
    std::string_view name, word;
};

// In the order of Verdict.
constexpr std::array<Name, 6> names{{
    {"PASSED", "passed"},
    {"ABORTED", "aborted"},
    {"NOT STARTED", "not-started"},
    {"NOT RUN", "not-run"},
    {"DIED", "died"},
    {"UNDECIDED", "undecided"},
}};

constexpr int status_aborted = 256 - 6;
constexpr int status_not_started_first = 256 - 5;
constexpr int status_not_started_last = 256 - 1;
// The program's closing line for an exit status.
bool announced(const std::string& console, int status) {
    const int code = status < 128 ? status : status - 256;
    const std::string line = "Selftest exits with code " + std::to_string(code) + "\n";
    if (!console.ends_with(line)) return false;
    return console.size() == line.size() || console[console.size() - line.size() - 1] == '\n';
}

std::string escaped(std::string_view text) {
    std::string xml;
    for (const char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        if (c == '&')
            xml += "&amp;";
        else if (c == '<')
            xml += "&lt;";
        else if (c == '>')
            xml += "&gt;";
        else if (c == '"')
            xml += "&quot;";
        else if (byte < ' ' && c != '\n')
            xml += '?';
        else if (byte >= 0x80)
            xml += "&#" + std::to_string(byte) + ";";
        else
            xml += c;
    }
    return xml;
}

Json list_of(const auto& texts) {
    Json list = Json::array();
    for (const std::string& text : texts)
        list.add(text);
    return list;
}

// What a record with a gap tells can't be held for a pass.
Verdict reported(const Record& record, const Outcome& outcome) {
    const bool sound = record.gap().empty() || outcome.verdict != Verdict::passed;
    return sound ? outcome.verdict : Verdict::undecided;
}

Json death_of(const Observation::Death& death) {
    return Json::object()
        .set("thread", death.thread)
        .set("address", death.address)
        .set("place", death.place);
}

Json demands_of(const std::vector<DemandResult>& demands) {
    Json list = Json::array();
    for (const DemandResult& demand : demands)
        list.add(Json::object()
                     .set("place", demand.place)
                     .set("demand", demand.words)
                     .set("met", demand.met)
                     .set("at", in_seconds(demand.at_us)));
    return list;
}

Json unit_of(const Observation::Row& row) {
    Json texts = Json::array();
    for (const Observation::Text& text : row.texts)
        texts.add(Json::object().set("at", in_seconds(text.at_us)).set("text", text.text));
    return Json::object()
        .set("name", row.label)
        .set("status", row.status())
        .set("first_change", in_seconds(row.texts.front().at_us))
        .set("last_change", in_seconds(row.texts.back().at_us))
        .set("texts", texts);
}

Json json_report(const Record& record, const Outcome& outcome) {
    const Observation& seen = record.observation();
    const ProcessEnd end = outcome.end;
    Json rows = Json::array();
    for (const Observation::Row& row : seen.rows)
        rows.add(unit_of(row));
    Json report = Json::object();
    report.set("verdict", verdict_name(reported(record, outcome)))
        .set("why", outcome.why)
        .set("record", record.gap().empty() ? "complete" : "cut")
        .set("board", outcome.board)
        .set(end.by_signal ? "signal" : "status", end.code);
    if (end.by_signal && seen.death) report.set("death", death_of(*seen.death));
    if (!outcome.demands.empty()) report.set("demands", demands_of(outcome.demands));
    return report.set("seconds", in_seconds(seen.duration_us))
        .set("left_safe", seen.unsafe().empty())
        .set("left_on", list_of(seen.on))
        .set("never_struck", list_of(outcome.never_struck))
        .set("units", rows)
        .set("margins", as_json(outcome.ledger));
}

struct Case {
    std::string name;
    double time_s;
    std::string failure; // empty: passed
};

bool any_failed(const std::vector<Case>& cases) {
    return std::ranges::any_of(cases, [](const Case& unit) { return !unit.failure.empty(); });
}

std::vector<Case> cases_of(const Observation& seen, Verdict verdict,
                           const std::vector<DemandResult>& demands) {
    std::vector<Case> cases;
    for (const Observation::Row& row : seen.rows) {
        const std::string text = row.status().empty() ? "no status text" : row.status();
        const Microseconds span = row.texts.back().at_us - row.texts.front().at_us;
        cases.push_back({row.label, in_seconds(span), text == "OK" ? "" : text});
    }
    const bool passed = verdict == Verdict::passed;
    if (cases.empty() || (!passed && !any_failed(cases)))
        cases.push_back({"run", in_seconds(seen.duration_us),
                         passed ? "" : std::string(verdict_name(verdict))});
    for (const DemandResult& demand : demands)
        cases.push_back(
            {demand.place + ": " + demand.words, in_seconds(demand.at_us), demand.failure});
    return cases;
}

std::string xml_report(const Observation& seen, Verdict verdict,
                       const std::vector<DemandResult>& demands) {
    const std::vector<Case> cases = cases_of(seen, verdict, demands);
    std::ostringstream xml;
    xml << "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
        << "<testsuite name=\"k4selftest\" tests=\"" << cases.size() << "\" failures=\""
        << std::ranges::count_if(cases, [](const Case& unit) { return !unit.failure.empty(); })
        << "\" time=\"" << in_seconds(seen.duration_us) << "\">\n"
        << "  <properties><property name=\"verdict\" value=\"" << verdict_name(verdict)
        << "\"/></properties>\n";
    for (const Case& unit : cases) {
        xml << "  <testcase classname=\"k4selftest\" name=\"" << escaped(unit.name) << "\" time=\""
            << unit.time_s << "\">";
        if (!unit.failure.empty()) xml << "<failure message=\"" << escaped(unit.failure) << "\"/>";
        xml << "</testcase>\n";
    }
    xml << "  <system-out>" << escaped(seen.console) << "</system-out>\n</testsuite>\n";
    return xml.str();
}

} // namespace

Verdict judge(const Observation& observation, ProcessEnd end) {
    if (observation.limit || observation.stopped) return Verdict::undecided;
    if (end.by_signal || !observation.hopeless.empty()) return Verdict::died;
    const bool closing_line = announced(observation.console, end.code);
    if (end.code == 0 && !closing_line) return Verdict::not_run;
    if (end.code == 0) return observation.ended ? Verdict::passed : Verdict::undecided;
    if (!closing_line) return Verdict::died;
    if (end.code == status_aborted) return Verdict::aborted;
    if (end.code >= status_not_started_first && end.code <= status_not_started_last)
        return Verdict::not_started;
    return Verdict::died;
}

std::string_view verdict_name(Verdict verdict) {
    return names[static_cast<std::size_t>(verdict)].name;
}

std::optional<Verdict> verdict_from_name(std::string_view name) {
    const auto letter = [](char c) {
        return c == ' ' || c == '_' ? '-' : static_cast<char>(std::tolower(c));
    };
    std::string word;
    std::ranges::transform(name, std::back_inserter(word), letter);
    const auto found = std::ranges::find(names, word, &Name::word);
    if (found == names.end()) return std::nullopt;
    return static_cast<Verdict>(found - names.begin());
}

std::vector<std::string_view> verdict_words() {
    std::vector<std::string_view> words;
    std::ranges::transform(names, std::back_inserter(words), &Name::word);
    return words;
}

std::vector<Verdict> verdicts_of(const std::string& list,
                                 const std::function<void(const std::string& why)>& refuse) {
    std::vector<Verdict> verdicts;
    std::istringstream words(list + ",");
    for (std::string word; std::getline(words, word, ',');) {
        const auto verdict = verdict_from_name(word);
        if (!verdict) refuse(no_such("verdict", word, verdict_words()));
        verdicts.push_back(verdict.value());
    }
    return verdicts;
}

void write_reports(Record& record, const Outcome& outcome) {
    const Observation& seen = record.observation();
    record.write_file("report.xml", xml_report(seen, reported(record, outcome), outcome.demands));
    if (!record.folder().empty()) {
        const auto file = [&record](const std::string& name) { return record.content(name); };
        Telling telling =
            telling_of(record.folder(), json_report(record, outcome), record.story(), file);
        add_diagnosis(telling);
        record.write_file("report.html", page_of(telling));
    }
    record.write_file("report.json", json_report(record, outcome).dump(2) + "\n");
}

} // namespace k4sim
