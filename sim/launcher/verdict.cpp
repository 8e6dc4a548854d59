#include "sim/launcher/verdict.h"

#include <algorithm>
#include <array>
#include <fstream>
#include <nlohmann/json.hpp>

namespace k4sim {

namespace {

using Json = nlohmann::ordered_json;

constexpr std::array<std::string_view, 6> names{"PASSED",  "ABORTED", "NOT STARTED",
                                                "NOT RUN", "DIED",    "UNDECIDED"};

constexpr int status_aborted = 256 - 6;
constexpr int status_not_started_first = 256 - 5;
constexpr int status_not_started_last = 256 - 1;
constexpr double us_per_s = 1e6;

// The program's closing line for an exit status.
bool announced(const std::string& console, int status) {
    const int code = status < 128 ? status : status - 256;
    return console.ends_with("Selftest exits with code " + std::to_string(code) + "\n");
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

void write_json(const Record& record, Verdict verdict, ProcessEnd end) {
    const Observation& seen = record.observation();
    Json report;
    report["verdict"] = verdict_name(verdict);
    report[end.by_signal ? "signal" : "status"] = end.code;
    report["seconds"] = static_cast<double>(seen.duration_us) / us_per_s;
    report["units"] = Json::array();
    for (const Observation::Row& row : seen.rows)
        report["units"].push_back({{"name", row.label},
                                   {"status", row.status},
                                   {"since", static_cast<double>(row.since_us) / us_per_s}});
    std::ofstream(record.folder() + "/report.json") << report.dump(2) << '\n';
}

void write_xml(const Record& record, Verdict verdict) {
    const std::vector<Observation::Row>& rows = record.observation().rows;
    const auto failures =
        std::count_if(rows.begin(), rows.end(), [](const auto& row) { return row.status != "OK"; });
    std::ofstream xml(record.folder() + "/report.xml");
    xml << "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
        << "<testsuite name=\"k4selftest\" tests=\"" << rows.size() << "\" failures=\"" << failures
        << "\" time=\"" << static_cast<double>(record.observation().duration_us) / us_per_s
        << "\">\n"
        << "  <properties><property name=\"verdict\" value=\"" << verdict_name(verdict)
        << "\"/></properties>\n";
    for (const Observation::Row& row : rows) {
        xml << "  <testcase classname=\"k4selftest\" name=\"" << escaped(row.label) << "\" time=\""
            << static_cast<double>(row.since_us) / us_per_s << "\">";
        if (row.status != "OK") xml << "<failure message=\"" << escaped(row.status) << "\"/>";
        xml << "</testcase>\n";
    }
    xml << "  <system-out>" << escaped(record.observation().console)
        << "</system-out>\n</testsuite>\n";
}

} // namespace

Verdict judge(const Observation& observation, ProcessEnd end) {
    if (observation.limit) return Verdict::undecided;
    if (end.by_signal || observation.deadlock) return Verdict::died;
    const bool closing_line = announced(observation.console, end.code);
    if (end.code == 0) return closing_line ? Verdict::passed : Verdict::not_run;
    if (!closing_line) return Verdict::died;
    if (end.code == status_aborted) return Verdict::aborted;
    if (end.code >= status_not_started_first && end.code <= status_not_started_last)
        return Verdict::not_started;
    return Verdict::died;
}

std::string_view verdict_name(Verdict verdict) { return names[static_cast<std::size_t>(verdict)]; }

void write_reports(const Record& record, Verdict verdict, ProcessEnd end) {
    if (record.folder().empty()) return;
    write_json(record, verdict, end);
    write_xml(record, verdict);
}

} // namespace k4sim
