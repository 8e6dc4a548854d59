#include "sim/diagnosis/knowledge.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <set>
#include <stdexcept>
#include <tuple>

namespace k4sim {

namespace {

constexpr std::string_view own_text =
#include "sim/diagnosis/known.tsv.inc"
    ;
constexpr std::string_view sign_mark = "sign";

// Runs that end as without the fault teach nothing.
bool teaches(const std::string& found) {
    return found == "detected" || found == "misleading" || found == "blocked" || found == "died";
}

std::vector<std::string_view> split(std::string_view text, char separator) {
    std::vector<std::string_view> parts;
    while (true) {
        const std::size_t end = text.find(separator);
        parts.push_back(text.substr(0, end));
        if (end == std::string_view::npos) return parts;
        text.remove_prefix(end + 1);
    }
}

std::string joined(const auto& values, auto text_of) {
    std::string text;
    for (const auto& value : values)
        text.append(text.empty() ? "" : " ").append(text_of(value));
    return text;
}

// How much the kinds of signs weigh against each other. A gain that is wrong is missed at up to
// seven frequencies, and the console says much that is no one's fault.
double factor_of(std::string_view what) {
    if (what.starts_with("row ")) return 4;
    if (what.starts_with("missed ")) return 0.5;
    return 1;
}

struct Lesson {
    std::string board, fault;
    std::vector<Sign> signs;

    auto operator<=>(const Lesson&) const = default;
};

std::vector<Lesson> lessons_of(const std::vector<Json>& results) {
    std::vector<Lesson> lessons;
    for (const Json& result : results) {
        const std::string fault = result.text("fault").value_or("");
        if (fault.empty() || !teaches(result.text("class").value_or(""))) continue;
        std::vector<Sign> signs = symptoms_from(result.list("symptoms")).signs;
        if (!signs.empty())
            lessons.push_back({result.text("board").value_or(""), fault, std::move(signs)});
    }
    std::ranges::sort(lessons);
    return lessons;
}

} // namespace

const Knowledge& Knowledge::own() {
    static const Knowledge knowledge = parsed(own_text);
    return knowledge;
}

Knowledge Knowledge::learned(const std::vector<Json>& results) {
    Knowledge knowledge;
    for (const Lesson& lesson : lessons_of(results)) {
        std::vector<std::size_t> numbers;
        for (const Sign& sign : lesson.signs)
            numbers.push_back(knowledge.number_of(sign));
        std::ranges::sort(numbers);
        const auto same = std::ranges::find_if(knowledge.classes_, [&](const FaultClass& known) {
            return known.board == lesson.board && knowledge.alike(known, numbers);
        });
        if (same != knowledge.classes_.end())
            same->faults.push_back(lesson.fault);
        else
            knowledge.classes_.push_back({lesson.board, {lesson.fault}, std::move(numbers)});
    }
    if (knowledge.classes_.empty())
        throw std::runtime_error("no run with a fault that could be noticed and its symptoms");
    return parsed(knowledge.text()); // without signs that no class shows
}

Knowledge Knowledge::parsed(std::string_view text) {
    Knowledge knowledge;
    for (const std::string_view line : split(text, '\n')) {
        if (line.empty()) continue;
        const std::vector<std::string_view> parts = split(line, '\t');
        if (parts.size() != 3)
            throw std::runtime_error("no line of what is known: " + std::string(line));
        if (parts[0] == sign_mark) {
            knowledge.number_of({std::string(parts[1]), std::string(parts[2])});
            continue;
        }
        FaultClass known{std::string(parts[0]), {}, {}};
        for (const std::string_view fault : split(parts[2], ' '))
            known.faults.emplace_back(fault);
        for (const std::string_view digits : split(parts[1], ' ')) {
            std::size_t number = 0;
            const auto end = digits.data() + digits.size();
            if (std::from_chars(digits.data(), end, number).ptr != end ||
                number >= knowledge.signs_.size())
                throw std::runtime_error("no sign of what is known: " + std::string(digits));
            known.signs.push_back(number);
        }
        knowledge.classes_.push_back(std::move(known));
    }
    knowledge.weigh();
    return knowledge;
}

std::string Knowledge::text() const {
    std::set<std::size_t> shown;
    for (const FaultClass& known : classes_)
        shown.insert(known.signs.begin(), known.signs.end());
    std::map<std::size_t, std::string> renumbered;
    std::string text;
    for (const std::size_t number : shown) {
        const Sign& sign = signs_[number].sign;
        renumbered.emplace(number, std::to_string(renumbered.size()));
        text.append(sign_mark).append("\t" + sign.what + "\t" + sign.text + "\n");
    }
    for (const FaultClass& known : classes_)
        text += known.board + "\t" +
                joined(known.signs, [&](std::size_t number) { return renumbered.at(number); }) +
                "\t" + joined(known.faults, [](const std::string& fault) { return fault; }) + "\n";
    return text;
}

std::optional<std::size_t> Knowledge::find(const Sign& sign) const {
    const auto found = numbers_.find(sign);
    return found == numbers_.end() ? std::nullopt : std::optional(found->second);
}

double Knowledge::weight_of(const std::string& what, const std::string& shape) const {
    const auto all = static_cast<double>(classes_.size());
    return factor_of(what) * std::log((all + 2) / (all * share_of(what, shape) + 1));
}

double Knowledge::share_of(const std::string& what, const std::string& shape) const {
    const auto found = shown_by_.find({what, shape});
    return found == shown_by_.end() ? 0 : found->second / static_cast<double>(classes_.size());
}

std::size_t Knowledge::number_of(const Sign& sign) {
    const auto [entry, is_new] = numbers_.emplace(sign, signs_.size());
    if (is_new) signs_.push_back({sign, shaped(sign.text)});
    return entry->second;
}

// Nothing but numbers differs, and these no more than from run to run.
bool Knowledge::alike(const FaultClass& one, const std::vector<std::size_t>& signs) const {
    if (one.signs.size() != signs.size()) return false;
    const auto key = [this](std::size_t number) {
        return std::tie(signs_[number].sign.what, signs_[number].shaped.shape);
    };
    std::vector<std::size_t> ones = one.signs, others = signs;
    std::ranges::sort(ones, {}, key);
    std::ranges::sort(others, {}, key);
    return std::ranges::equal(ones, others, [&](std::size_t a, std::size_t b) {
        return key(a) == key(b) && likeness(signs_[a].shaped, signs_[b].shaped) == 1;
    });
}

void Knowledge::weigh() {
    for (const FaultClass& known : classes_)
        for (const std::size_t number : known.signs)
            ++shown_by_[{signs_[number].sign.what, signs_[number].shaped.shape}];
    for (KnownSign& known : signs_)
        known.weight = weight_of(known.sign.what, known.shaped.shape);
}

} // namespace k4sim
