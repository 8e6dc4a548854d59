#include "sim/campaign/coverage.h"

#include "sim/campaign/results.h"
#include "sim/campaign/sighting.h"
#include "sim/formats/short_number.h"
#include "sim/formats/write_all.h"
#include "sim/story/sources.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <map>
#include <stdexcept>

namespace k4sim {

namespace {

using Runs = std::vector<Json>;
using Cells = std::vector<std::string>;

std::string member(const Json& result, std::string_view name) {
    return result.text(name).value_or("");
}

std::string unit_name(const Json& result) {
    const std::string unit = member(result, "unit");
    return unit.empty() ? "(no row)" : unit;
}

std::string percent(std::size_t part, std::size_t all) {
    return with_decimals(100.0 * static_cast<double>(part) / static_cast<double>(all), 1) + " %";
}

std::size_t count_of(const Runs& results, const std::string& found) {
    return static_cast<std::size_t>(std::ranges::count_if(
        results, [&](const Json& result) { return member(result, "class") == found; }));
}

// By what `key` says of each, in its order.
template <class Key>
std::map<std::string, Runs> grouped(const Runs& results, Key key) {
    std::map<std::string, Runs> groups;
    for (const Json& result : results)
        groups[key(result)].push_back(result);
    return groups;
}

Runs of_class(const Runs& results, const std::string& found) {
    Runs some;
    std::ranges::copy_if(results, std::back_inserter(some),
                         [&](const Json& result) { return member(result, "class") == found; });
    return some;
}

// How many came to each class.
template <class Key>
Table counts_by(const std::string& what, const Runs& results, Key key) {
    Table table{{what, "faults", "detected", ""}, {}, 1};
    for (std::size_t i = 1; i < class_names().size(); ++i)
        table.head.push_back(class_names()[i]);
    const auto add = [&](const std::string& name, const Runs& some) {
        const std::size_t detected = count_of(some, "detected");
        Cells cells = {name, std::to_string(some.size()), std::to_string(detected),
                       percent(detected, some.size())};
        for (std::size_t i = 1; i < class_names().size(); ++i)
            cells.push_back(std::to_string(count_of(some, class_names()[i])));
        table.rows.push_back(cells);
    };
    for (const auto& [name, some] : grouped(results, key))
        add(name, some);
    add("in all", results);
    return table;
}

template <class Number>
Number quantile(std::vector<Number> numbers, std::size_t percent_below) {
    std::ranges::sort(numbers);
    return numbers[(numbers.size() - 1) * percent_below / 100];
}

// The run was another one, and its row at the text that it kept.
double detection_s(const Json& result) {
    return std::max(result.number("told_at").value_or(0), result.number("differs_at").value_or(0));
}

Table times_to_detection(const Runs& detected) {
    Table table{{"unit", "soonest", "median", "95 %", "latest"}, {}, 1};
    for (const auto& [unit, some] : grouped(detected, unit_name)) {
        std::vector<double> seconds;
        for (const Json& result : some)
            if (result.has("told_at")) seconds.push_back(detection_s(result));
        if (seconds.empty()) continue;
        Cells cells = {unit};
        for (const std::size_t percent_below : {0, 50, 95, 100})
            cells.push_back(with_decimals(quantile(seconds, percent_below), 1));
        table.rows.push_back(cells);
    }
    return table;
}

// What stands before the technician: board, verdict and the last text of each row.
std::string symptom(const Json& result) {
    std::string texts = member(result, "board") + "\n" + member(result, "verdict");
    for (const Json& row : result.list("rows"))
        texts += "\n" + member(row, "unit") + "\n" + symptom_of(member(row, "text"));
    return texts;
}

Table resolution(const Runs& told) {
    Table table{
        {"unit", "symptoms", "of one fault only", "fewest faults", "median", "most"}, {}, 1};
    const std::map<std::string, Runs> by_symptom = grouped(told, symptom);
    for (const auto& [unit, some] : grouped(told, unit_name)) {
        std::vector<std::size_t> sizes;
        for (const auto& [texts, alike] : grouped(some, symptom))
            sizes.push_back(by_symptom.at(texts).size());
        Cells cells = {unit, std::to_string(sizes.size()),
                       std::to_string(std::ranges::count(sizes, std::size_t{1}))};
        for (const std::size_t percent_below : {0, 50, 100})
            cells.push_back(std::to_string(quantile(sizes, percent_below)));
        table.rows.push_back(cells);
    }
    return table;
}

// "a=1, b=2 (aes); c=1 (aes, plain)": faults that are on the same boards together.
std::string faults_and_boards(const Runs& results) {
    std::map<std::string, std::string> boards;
    for (const Json& result : results) {
        std::string& list = boards[member(result, "fault")];
        list += (list.empty() ? "" : ", ") + member(result, "board");
    }
    std::map<std::string, std::string> faults;
    for (const auto& [fault, list] : boards)
        faults[list] += (faults[list].empty() ? "" : ", ") + fault;
    std::string text;
    for (const auto& [list, names] : faults)
        text += (text.empty() ? "" : "; ") + names + " (" + list + ")";
    return text;
}

// Unit and reason, then all faults for which it holds.
Table reasons(const Runs& results) {
    Table table{{"unit", "reason", "faults"}, {}, 3};
    for (const auto& [unit, some] : grouped(results, unit_name)) {
        const auto why = [](const Json& result) { return member(result, "why"); };
        for (const auto& [reason, alike] : grouped(some, why))
            table.rows.push_back(
                {unit, reason.empty() ? "none is known" : reason, faults_and_boards(alike)});
    }
    return table;
}

struct Section {
    const char* found;
    const char* title;
    const char* explanation;
};

constexpr Section sections[] = {
    {"escaped", "Escapes", "The run ended as that of a good device, and nothing could be noticed."},
    {"misleading", "Misleading", "The run did not pass, but the row at fault says nothing of it."},
    {"operator", "Left to the operator",
     "The run ended as that of a good device, and a person could see or hear the difference; or "
     "it had to be ended, with a row on the glass that can't be read."},
    {"blocked", "Blocked", "Nobody could end the run at the panel."},
    {"died", "Died", "The program did not survive it."},
};

std::string summary(const Runs& results) {
    const std::size_t detected = count_of(results, "detected");
    return std::to_string(detected) + " of " + std::to_string(results.size()) +
           " single faults are detected (" + percent(detected, results.size()) + ")";
}

// Of a test that says whether a device may be used, this counts, too.
std::string never_good(const Runs& results) {
    const std::size_t count =
        results.size() - count_of(results, "escaped") - count_of(results, "operator");
    return "With those that mislead, or that nobody can end, " + std::to_string(count) + " (" +
           percent(count, results.size()) + ") do not come to a good end.";
}

Runs left_on(const Runs& results) {
    Runs some;
    std::ranges::copy_if(results, std::back_inserter(some), [](const Json& result) {
        return !result.flag("left_safe").value_or(true);
    });
    return some;
}

Runs surprises(const Runs& results) {
    Runs some;
    std::ranges::copy_if(results, std::back_inserter(some), [](const Json& result) {
        const std::string expected = member(result, "expected");
        return !expected.empty() && expected != member(result, "class");
    });
    return some;
}

void write(const std::string& path, const std::string& bytes) {
    if (!write_whole(path, bytes))
        throw std::runtime_error(path + " can't be written: " + std::strerror(errno));
}

} // namespace

std::vector<Json> joined_results(const std::vector<std::string>& folders) {
    std::map<std::string, Json> joined;
    std::string identity;
    for (const std::string& folder : folders) {
        const std::string own = read_file(folder + "/" + std::string(identity_name));
        if (!identity.empty() && own != identity)
            throw std::runtime_error(folder + " and " + folders[0] +
                                     " have results of different programs, devices, seeds or "
                                     "limits: they can't be joined");
        identity = own;
        for (const Json& result : json_lines(folder + "/" + std::string(results_name))) {
            const auto [known, is_new] = joined.emplace(run_name(result), result);
            if (!is_new && known->second.dump() != result.dump())
                throw std::runtime_error(
                    folder + " and an earlier folder tell different things of " + run_name(result));
        }
    }
    if (joined.empty()) throw std::runtime_error("there are no results in " + folders[0]);
    std::vector<Json> results;
    for (const auto& [name, result] : joined)
        results.push_back(result);
    return results;
}

Document coverage_document(const std::vector<Json>& results, const std::string& way_back) {
    const auto board = [](const Json& result) { return member(result, "board"); };
    Runs told = of_class(results, "detected");
    Document document = {
        Heading{1, "What the self-test finds"},
        Paragraph{"Every single fault once, on each board that has what it breaks, an automatic "
                  "operator at the panel: " +
                  summary(results) + ". " + never_good(results)},
        Heading{2, "By unit"},
        counts_by("unit", results, unit_name),
        Heading{2, "By board"},
        counts_by("board", results, board),
        Heading{2, "Time to detection"},
        Paragraph{"Virtual seconds from the start until the row at fault stood at the text that "
                  "it kept, and the run was no longer that of a good device."},
        times_to_detection(told)};
    const Runs misled = of_class(results, "misleading");
    told.insert(told.end(), misled.begin(), misled.end());
    document.insert(document.end(),
                    {Heading{2, "Resolution"},
                     Paragraph{"A symptom is what a technician sees at the end: the board, the "
                               "verdict, and the last text of each row without its levels and "
                               "counts. How many faults share a symptom:"},
                     resolution(told)});
    if (!way_back.empty())
        document.insert(document.end(), {Heading{2, "The way back"}, Paragraph{way_back}});
    for (const auto& [found, title, explanation] : sections) {
        const Runs some = of_class(results, found);
        if (some.empty()) continue;
        document.insert(document.end(), {Heading{2, title}, Paragraph{explanation}, reasons(some)});
    }
    if (const Runs some = left_on(results); !some.empty())
        document.insert(document.end(),
                        {Heading{2, "Left on"},
                         Paragraph{"Phantom power or boost was on after the run, since what "
                                   "switches it is broken: " +
                                   faults_and_boards(some) + "."}});
    const Runs unexpected = surprises(results);
    if (!unexpected.empty()) {
        Table table{{"run", "expected", "found"}, {}, 3};
        for (const Json& result : unexpected)
            table.rows.push_back(
                {run_name(result), member(result, "expected"), member(result, "class")});
        document.insert(document.end(), {Heading{2, "Not as expected"}, table});
    }
    return document;
}

std::string coverage_json(const std::vector<Json>& results) {
    Json units = Json::array();
    for (const auto& [unit, some] : grouped(results, unit_name)) {
        Json counts = Json::object().set("unit", unit);
        for (const std::string& found : class_names())
            counts.set(found, static_cast<int>(count_of(some, found)));
        units.add(counts);
    }
    std::string text = "{\"faults\": " + std::to_string(results.size()) +
                       ",\n\"detected\": " + std::to_string(count_of(results, "detected")) +
                       ",\n\"units\": " + units.dump() + ",\n\"runs\": [\n";
    for (const Json& result : results) {
        Json run = Json::object();
        for (const char* const name : {"fault", "board", "unit", "class", "verdict"})
            run.set(name, member(result, name));
        text += run.dump() + ",\n";
    }
    text.erase(text.size() - 2);
    return text + "\n]}\n";
}

int write_coverage(const std::vector<std::string>& folders, const std::string& out,
                   const std::string& way_back) {
    const std::vector<Json> results = joined_results(folders);
    std::error_code error;
    std::filesystem::create_directories(out, error);
    const Document document = coverage_document(results, way_back);
    write(out + "/coverage.md", as_markdown(document));
    write(out + "/coverage.html", as_page(document));
    write(out + "/coverage.json", coverage_json(results));
    std::printf("%s; %s/coverage.html tells more\n", summary(results).c_str(), out.c_str());
    return 0;
}

int compare_coverage(const std::vector<std::string>& folders, const std::string& file) {
    const std::optional<Json> known = Json::parse(read_file(file));
    if (!known || !known->has("runs")) throw std::runtime_error(file + " is no coverage.json");
    std::map<std::string, Json> runs;
    for (const Json& run : known->list("runs"))
        runs.emplace(run_name(run), run);
    int status = 0;
    for (const Json& result : joined_results(folders)) {
        const auto run = runs.find(run_name(result));
        const auto told = [](const Json& one) {
            return member(one, "class") + " (" + member(one, "verdict") + ")";
        };
        const std::string before = run == runs.end() ? "not there" : told(run->second);
        if (before == told(result)) continue;
        std::printf("%s: %s; in %s: %s\n", run_name(result).c_str(), told(result).c_str(),
                    file.c_str(), before.c_str());
        status = 1;
    }
    return status;
}

} // namespace k4sim
