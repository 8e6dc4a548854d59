#include "sim/launcher/diagnose.h"

#include "sim/campaign/results.h"
#include "sim/diagnosis/diagnosis.h"
#include "sim/launcher/options.h"
#include "sim/story/sources.h"

#include <filesystem>
#include <stdexcept>

namespace k4sim {

namespace {

constexpr double least_share = 95; // percent

std::vector<Json> results_in(const std::string& folder) {
    return json_lines(folder + "/" + std::string(results_name));
}

// Empty: it is not known.
std::string board_of(const Telling& telling) { return telling.report.text("board").value_or(""); }

struct Question {
    Symptoms seen;
    std::string board;
};

Question question_of(const Options& options) {
    const Inquiry& inquiry = options.inquiry;
    if (!inquiry.rows.empty()) return {symptoms_of_rows(inquiry.rows), inquiry.board};
    const std::string& path = options.record.empty() ? options.files[0] : options.record;
    const bool record = !options.record.empty() || std::filesystem::is_directory(path);
    const Telling telling = record ? read_record(path) : read_console(path, read_file(path));
    return {symptoms_of(telling), inquiry.board.empty() ? board_of(telling) : inquiry.board};
}

} // namespace

void add_diagnosis(Telling& telling) {
    const Diagnosis diagnosis =
        diagnosis_of(symptoms_of(telling), board_of(telling), Knowledge::own());
    if (diagnosis.state != Diagnosis::State::nothing_failed) telling.diagnosis = as_json(diagnosis);
}

std::string diagnosis_of_rows(const std::vector<std::pair<std::string, std::string>>& rows,
                              const std::string& board) {
    return as_json(diagnosis_of(symptoms_of_rows(rows), board, Knowledge::own())).dump();
}

std::string way_back(const std::string& folder) {
    const Judgement judgement = judge(results_in(folder), Knowledge::own());
    const std::string text = as_text(judgement);
    std::string missed;
    for (const std::string& fault : judgement.missed)
        missed += (missed.empty() ? "Not among them: " : ", ") + fault;
    return "k4sim diagnose, asked for each detected fault by a run with another seed than it has "
           "learned from: " +
           text.substr(0, text.find('\n')) + (missed.empty() ? "" : " " + missed + ".");
}

Answer answer_to(const Options& options) {
    const Inquiry& inquiry = options.inquiry;
    if (!inquiry.learn.empty()) return {Knowledge::learned(results_in(inquiry.learn)).text(), true};
    if (!inquiry.judge.empty()) {
        const Judgement judgement = judge(results_in(inquiry.judge), Knowledge::own());
        return {as_text(judgement), judgement.share() >= least_share};
    }
    const Question asked = question_of(options);
    const Diagnosis diagnosis = diagnosis_of(asked.seen, asked.board, Knowledge::own());
    const bool known = diagnosis.state != Diagnosis::State::unknown;
    if (!options.json) return {as_text(diagnosis), known};
    Json answer = as_json(diagnosis);
    answer.set("board", asked.board).set("symptoms", as_json(asked.seen.signs));
    return {answer.dump(2) + "\n", known};
}

} // namespace k4sim
