#include "sim/diagnosis/symptoms.h"

#include "sim/formats/short_number.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdlib>

namespace k4sim {

namespace {

constexpr std::string_view all_kinds[] = {"course", "line", "missed", "row", "verdict"};
constexpr std::size_t most_of_a_course = 12;
constexpr std::size_t digits_of_a_name = 4;
constexpr std::string_view banner = "*****";                // of each day another one
constexpr std::string_view board_line = "AES/EBU hardware"; // whose number is the board's

// Numbers nearer than this are the same: another run of the same device is as far away.
constexpr double same_within = 0.4;
// What texts of one shape have in common whatever their numbers are.
constexpr double same_shape = 0.4;
// What different texts can have in common at most.
constexpr double other_shape = 0.6;

bool ends_number(std::string_view text, std::size_t at) {
    return at >= text.size() || std::string_view(" (),=").find(text[at]) != std::string_view::npos;
}

// The characters of a number that begins there; 0: none does.
std::size_t number_at(std::string_view text, std::size_t at, double& number) {
    if (at > 0 && !ends_number(text, at - 1)) return 0;
    const auto [end, error] = std::from_chars(text.data() + at, text.data() + text.size(), number);
    const auto size = static_cast<std::size_t>(end - (text.data() + at));
    if (error != std::errc{} || !ends_number(text, at + size)) return 0;
    const std::string_view digits = text.substr(at, size);
    const bool is_name = digits.size() >= digits_of_a_name &&
                         digits.find_first_not_of("0123456789") == std::string_view::npos;
    return is_name || size == text.size() ? 0 : size;
}

double nearness(double one, double other) {
    if (!std::isfinite(one) || !std::isfinite(other)) return one == other ? 1 : 0;
    const double step = 1 + 0.1 * std::max(std::fabs(one), std::fabs(other));
    return 1 / (1 + std::max(0.0, std::fabs(one - other) / step - same_within));
}

// How much of the longer text begins and ends alike in both.
double common_ends(std::string_view one, std::string_view other) {
    const std::size_t shorter = std::min(one.size(), other.size());
    std::size_t head = 0, tail = 0;
    while (head < shorter && one[head] == other[head])
        ++head;
    while (tail < shorter - head && one[one.size() - 1 - tail] == other[other.size() - 1 - tail])
        ++tail;
    const std::size_t longer = std::max(one.size(), other.size());
    return static_cast<double>(head + tail) / static_cast<double>(longer);
}

std::string without_ends(std::string_view text) {
    const std::size_t first = text.find_first_not_of(' ');
    if (first == std::string_view::npos) return "";
    return std::string(text.substr(first, text.find_last_not_of(' ') - first + 1));
}

// The keys that are left are in the order in which the operator pressed the others.
bool has_course(const StatusRow& row) { return row.label != "Frontpanel"; }

class Collected {
public:
    explicit Collected(Symptoms& symptoms) : symptoms_(symptoms) {}

    void add(const std::string& what, std::string text) {
        symptoms_.signs.push_back({what, std::move(text)});
    }

    void add_rows(const std::vector<StatusRow>& rows) {
        for (const StatusRow& row : rows) {
            if (row.label.empty()) continue;
            add("row " + row.label, without_ends(row.status()));
            if (has_course(row)) add_course(row);
        }
    }

    void add_console(const std::vector<StatusText>& lines) {
        for (const StatusText& line : lines)
            if (!line.text.starts_with(banner))
                add("line",
                    line.text.starts_with(board_line) ? line.text : shaped(line.text).shape);
    }

    void add_margins(const std::vector<Margin>& ledger) {
        for (const Margin& margin : ledger) {
            if (margin.kind == Margin::Kind::noted) continue;
            const std::string what = "missed " + margin.quantity;
            if (margin.state != Margin::State::not_told) symptoms_.told.push_back(what);
            if (margin.state == Margin::State::missed)
                add(what, "by " + short_number(margin.distance.value_or(0)));
        }
    }

    void sort() {
        std::ranges::sort(symptoms_.signs);
        const auto again = std::ranges::unique(symptoms_.signs);
        symptoms_.signs.erase(again.begin(), again.end());
    }

private:
    void add_course(const StatusRow& row) {
        std::vector<std::string> shapes;
        for (const StatusText& text : row.texts) {
            std::string shape = shaped(without_ends(text.text)).shape;
            if (shapes.size() == most_of_a_course || shape.empty() || shape == "OK" ||
                std::ranges::find(shapes, shape) != shapes.end())
                continue;
            add("course " + row.label, shape);
            shapes.push_back(std::move(shape));
        }
    }

    Symptoms& symptoms_;
};

} // namespace

bool Symptoms::tells(const std::string& what) const {
    const std::string kind = what.substr(0, what.find(' '));
    return std::ranges::any_of(told,
                               [&](const std::string& one) { return one == what || one == kind; });
}

const std::string* Symptoms::row(std::string_view label) const {
    const auto found = std::ranges::find_if(signs, [&](const Sign& sign) {
        return sign.what.starts_with("row ") && std::string_view(sign.what).substr(4) == label;
    });
    return found == signs.end() ? nullptr : &found->text;
}

bool Symptoms::nothing_failed() const {
    bool any_row = false;
    for (const Sign& sign : signs) {
        if (sign.what == "verdict" && sign.text != "PASSED" && sign.text != "ABORTED") return false;
        if (!sign.what.starts_with("row ")) continue;
        if (!sign.text.empty() && sign.text != "OK") return false;
        any_row = true;
    }
    return any_row;
}

Symptoms symptoms_of(const Telling& telling) {
    Symptoms symptoms;
    symptoms.told = {"line", "verdict"};
    Collected collected(symptoms);
    if (telling.story.timed) symptoms.told.insert(symptoms.told.end(), {"course", "row"});
    collected.add_rows(telling.story.rows);
    collected.add_console(telling.story.console);
    collected.add_margins(telling.ledger);
    collected.add("verdict", telling.report.text("verdict").value_or(""));
    collected.sort();
    return symptoms;
}

Symptoms symptoms_of_rows(const std::vector<std::pair<std::string, std::string>>& rows) {
    Symptoms symptoms;
    for (const auto& [label, text] : rows) {
        symptoms.signs.push_back({"row " + label, without_ends(text)});
        symptoms.told.push_back("row " + label);
    }
    std::ranges::sort(symptoms.signs);
    return symptoms;
}

Json as_json(const std::vector<Sign>& signs) {
    Json list = Json::array();
    for (const Sign& sign : signs)
        list.add(Json::object().set("what", sign.what).set("text", sign.text));
    return list;
}

Symptoms symptoms_from(const std::vector<Json>& list) {
    Symptoms symptoms;
    symptoms.told.assign(std::begin(all_kinds), std::end(all_kinds));
    for (const Json& sign : list)
        symptoms.signs.push_back({sign.text("what").value_or(""), sign.text("text").value_or("")});
    return symptoms;
}

Shaped shaped(std::string_view text) {
    Shaped result;
    for (std::size_t at = 0; at < text.size();) {
        double number = 0;
        const std::size_t size = number_at(text, at, number);
        if (size > 0) {
            result.shape += '#';
            result.numbers.push_back(number);
        } else if (text[at] != ' ' || !result.shape.ends_with(' ')) {
            result.shape += text[at];
        }
        at += std::max<std::size_t>(size, 1);
    }
    return result;
}

double likeness(const Shaped& one, const Shaped& other) {
    if (one.shape != other.shape || one.numbers.size() != other.numbers.size())
        return other_shape * common_ends(one.shape, other.shape);
    if (one.numbers.empty()) return 1;
    double sum = 0;
    for (std::size_t i = 0; i < one.numbers.size(); ++i)
        sum += nearness(one.numbers[i], other.numbers[i]);
    return same_shape + (1 - same_shape) * sum / static_cast<double>(one.numbers.size());
}

} // namespace k4sim
