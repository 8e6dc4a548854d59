#include "sim/diagnosis/diagnosis.h"

#include "sim/diagnosis/fault_words.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>

namespace k4sim {

namespace {

constexpr std::size_t faults_listed = 8; // of a candidate, for people
constexpr double as_good_within = 0.005;

std::string_view name_of(Diagnosis::State state) {
    constexpr std::string_view names[] = {"nothing failed", "unknown", "found"};
    return names[static_cast<std::size_t>(state)];
}

std::string_view words_of(Diagnosis::State state) {
    constexpr std::string_view words[] = {
        "No row failed: there is nothing to look for.",
        "An unknown symptom: no single fault that is known looks like this.", ""};
    return words[static_cast<std::size_t>(state)];
}

std::string line(const char* format, auto... values) {
    std::array<char, 300> text{};
    std::snprintf(text.data(), text.size(), format, values...);
    return text.data();
}

std::string list_of(const std::vector<std::string>& words, std::size_t most) {
    std::string text;
    for (std::size_t i = 0; i < std::min(words.size(), most); ++i)
        text += (text.empty() ? "" : ", ") + words[i];
    if (words.size() > most) text += ", and " + std::to_string(words.size() - most) + " more";
    return text;
}

std::string as_text(const Candidate& candidate, std::size_t number) {
    std::string text = line("%zu. fits to %.0f %%", number, candidate.fit * 100) +
                       (candidate.faults.size() > 1 ? ", any of these, which look the same" : "") +
                       " (board " + list_of(candidate.boards, candidate.boards.size()) + ")\n";
    for (std::size_t i = 0; i < std::min(candidate.faults.size(), faults_listed); ++i) {
        const std::string& fault = candidate.faults[i];
        text += line("   %-28s ", fault.c_str()) + fault_in_words(fault) + "\n";
    }
    if (candidate.faults.size() > faults_listed)
        text += line("   and %zu more\n", candidate.faults.size() - faults_listed);
    return text;
}

Json as_json(const Candidate& candidate) {
    Json boards = Json::array(), faults = Json::array();
    for (const std::string& board : candidate.boards)
        boards.add(board);
    for (const std::string& fault : candidate.faults)
        faults.add(Json::object().set("fault", fault).set("words", fault_in_words(fault)));
    return Json::object()
        .set("fit", std::round(candidate.fit * 1000) / 1000)
        .set("boards", boards)
        .set("faults", faults);
}

Json as_json(const NextStep& next) {
    Json branches = Json::array();
    for (const Branch& branch : next.branches) {
        Json faults = Json::array();
        for (const std::string& fault : branch.faults)
            faults.add(fault);
        branches.add(Json::object()
                         .set("seen", branch.seen)
                         .set("tells", branch.tells)
                         .set("faults", faults));
    }
    return Json::object().set("action", next.action).set("branches", branches);
}

// Those that fit about as well as the best.
std::vector<Candidate> likely(const std::vector<Candidate>& candidates) {
    constexpr double as_well = 0.8;
    std::vector<Candidate> some;
    for (const Candidate& candidate : candidates)
        if (candidate.fit >= as_well * candidates.front().fit) some.push_back(candidate);
    return some;
}

// The place of the fault among the candidates, from 1 on; 0: it is not there.
std::size_t place_of(const std::string& fault, const std::vector<Candidate>& candidates) {
    const auto found = std::ranges::find_if(candidates, [&](const Candidate& candidate) {
        return std::ranges::find(candidate.faults, fault) != candidate.faults.end();
    });
    return found == candidates.end() ? 0 : static_cast<std::size_t>(found - candidates.begin()) + 1;
}

} // namespace

Diagnosis diagnosis_of(const Symptoms& seen, const std::string& board, const Knowledge& knowledge) {
    if (seen.nothing_failed()) return {Diagnosis::State::nothing_failed, {}, 0, {}};
    Diagnosis diagnosis;
    std::vector<Candidate>& candidates = diagnosis.candidates;
    candidates = candidates_for(seen, board, knowledge);
    if (candidates.empty()) return diagnosis;
    if (candidates.size() > candidates_told) {
        const double last = candidates[candidates_told - 1].fit;
        const auto worse = std::ranges::find_if(
            candidates, [&](const Candidate& one) { return one.fit < last - as_good_within; });
        const auto as_good = static_cast<std::size_t>(worse - candidates.begin());
        diagnosis.more = as_good - candidates_told;
        candidates.resize(candidates_told);
    }
    diagnosis.state = Diagnosis::State::found;
    diagnosis.next = step_for(likely(diagnosis.candidates));
    return diagnosis;
}

std::string as_text(const Diagnosis& diagnosis) {
    if (diagnosis.candidates.empty()) return std::string(words_of(diagnosis.state)) + "\n";
    std::string text;
    for (std::size_t i = 0; i < diagnosis.candidates.size(); ++i)
        text += as_text(diagnosis.candidates[i], i + 1);
    if (diagnosis.more > 0)
        text +=
            line("%zu more fit as well as the last one: tell more, such as what each row reads.\n",
                 diagnosis.more);
    if (diagnosis.candidates.size() == 1 && diagnosis.candidates[0].faults.size() == 1) return text;
    if (!diagnosis.next) return text + "\nNext: no step that is known leaves fewer of these.\n";
    text.append("\nNext: ").append(diagnosis.next->action).append("\n");
    for (const Branch& branch : diagnosis.next->branches) {
        text.append("  If ").append(branch.seen).append(": ").append(branch.tells);
        text += " (" + list_of(branch.faults, faults_listed / 2) + ").\n";
    }
    return text;
}

Json as_json(const Diagnosis& diagnosis) {
    Json json = Json::object().set("state", name_of(diagnosis.state));
    if (diagnosis.candidates.empty()) return json.set("words", words_of(diagnosis.state));
    Json candidates = Json::array();
    for (const Candidate& candidate : diagnosis.candidates)
        candidates.add(as_json(candidate));
    json.set("more", static_cast<int>(diagnosis.more)).set("candidates", candidates);
    if (diagnosis.next) json.set("next", as_json(*diagnosis.next));
    return json;
}

double Judgement::share() const {
    return runs == 0 ? 0 : 100 * static_cast<double>(among_told) / static_cast<double>(runs);
}

Judgement judge(const std::vector<Json>& results, const Knowledge& knowledge) {
    Judgement judgement;
    for (const Json& result : results) {
        if (result.text("class") != "detected") continue;
        const std::string fault = result.text("fault").value_or("");
        const std::string board = result.text("board").value_or("");
        const Symptoms seen = symptoms_from(result.list("symptoms"));
        const std::size_t place = place_of(fault, diagnosis_of(seen, board, knowledge).candidates);
        ++judgement.runs;
        judgement.among_told += place > 0 ? 1 : 0;
        judgement.first += place == 1 ? 1 : 0;
        if (place == 0) judgement.missed.push_back(board + " " + fault);
    }
    std::ranges::sort(judgement.missed);
    return judgement;
}

std::string as_text(const Judgement& judgement) {
    std::string text = line("Of %zu faults that were detected, %zu (%.1f %%) are among the first "
                            "%zu candidates, %zu are the first.\n",
                            judgement.runs, judgement.among_told, judgement.share(),
                            candidates_told, judgement.first);
    for (const std::string& missed : judgement.missed)
        text += "not among them: " + missed + "\n";
    return text;
}

} // namespace k4sim
