#include "sim/launcher/listing.h"

#include "sim/formats/json.h"
#include "sim/formats/short_number.h"
#include "sim/launcher/options.h"
#include "sim/models/joints/fault_sites.h"
#include "sim/models/nearest.h"
#include "sim/models/universe.h"
#include "sim/setup_choices.h"

#include <iterator>

namespace k4sim {

namespace {

struct Key {
    int code;
    char letter;
    std::string_view action;
    std::string_view name;
};

constexpr Key keys[] = {
    {0, '0', "press 0", "0"},
    {1, '1', "press 1", "1"},
    {2, '2', "press 2", "2"},
    {3, '3', "press 3", "3"},
    {4, '4', "press 4", "4"},
    {5, '5', "press 5", "5"},
    {6, '6', "press 6", "6"},
    {7, '7', "press 7", "7, a start key"},
    {8, '8', "press 8", "8"},
    {9, '9', "press 9", "9"},
    {10, '*', "press *", "*"},
    {11, '#', "press #", "#"},
    {12, 'L', "turn 1 -1", "Ml: knob M a step to the left"},
    {13, 'R', "turn 1 1", "Mr: knob M a step to the right"},
    {14, 'K', "press K", "M: knob M pushed"},
    {15, 'E', "press E", "Esc"},
    {16, 'A', "press A", "A"},
    {17, 'C', "press C", "C"},
    {18, 'D', "press D", "D"},
    {19, 'M', "press M", "H: knob H pushed, a start key"},
    {20, 'h', "turn 2 -1", "Hl: knob H a step to the left"},
    {21, 'H', "turn 2 1", "Hr: knob H a step to the right"},
};

const char* sight_text(Fault::Sight sight) {
    switch (sight) {
    case Fault::Sight::seen:
        return "seen";
    case Fault::Sight::depends:
        return "depends";
    case Fault::Sight::unseen:
        break;
    }
    return "escapes";
}

// At least `width` characters and a blank.
std::string pad(std::string text, std::size_t width) {
    if (text.size() < width) text.resize(width, ' ');
    return text += ' ';
}

std::string usage_of(const Fault& fault) {
    std::string name(fault.name);
    if (!fault.value_syntax.empty()) name.append("=").append(fault.value_syntax);
    return name;
}

std::string line(std::string_view head, std::string_view text) {
    return text.empty() ? "" : pad("    " + std::string(head), 12).append(text) + "\n";
}

struct BoardFault {
    std::string_view board;
    const SiteFault* fault;
};

std::vector<BoardFault> matching_universe(std::optional<Board> chosen, const std::string& pattern) {
    std::vector<BoardFault> found;
    for (const auto& [board, name] : boards)
        if (chosen ? board == *chosen : board != Board::none)
            for (const SiteFault& fault : universe(board))
                if (is_named_like(pattern, fault.fault)) found.push_back({name, &fault});
    if (found.empty()) throw UsageError("no fault is named like \"" + pattern + "\"");
    return found;
}

Json boards_of(const Fault& fault) {
    Json names = Json::array();
    for (const std::string_view board : fault_boards(fault))
        names.add(board);
    return names;
}

// Empty: all.
std::string boards_text(const Fault& fault) {
    const std::vector<std::string_view> names = fault_boards(fault);
    return names.size() == std::size(boards) ? "" : alternatives(names);
}

Json json_of(const Fault& fault) {
    Json json = Json::object();
    json.set("name", fault.name).set("value", fault.value_syntax);
    if (fault.value == Fault::Value::number || fault.value == Fault::Value::decimal)
        json.set("low", fault.low).set("high", fault.high);
    return json.set("boards", boards_of(fault))
        .set("example", fault_example(fault))
        .set("clears", !fault.passes)
        .set("sight", sight_text(fault.sight))
        .set("breaks", fault.breaks)
        .set("verdict", fault.verdict);
}

} // namespace

std::vector<const Fault*> matching_faults(const std::string& pattern) {
    std::vector<const Fault*> found;
    std::vector<std::string_view> names;
    for (const Fault& fault : fault_list()) {
        names.push_back(fault.name);
        if (is_named_like(pattern, fault.name)) found.push_back(&fault);
    }
    if (found.empty())
        throw UsageError("no fault is named like \"" + pattern + "\"" +
                         did_you_mean(pattern, names));
    return found;
}

std::string faults_as_text(const std::vector<const Fault*>& faults) {
    std::string text =
        "Faults for --fault, and what a run of the self-test must make of each: it is seen,\n"
        "escapes the self-test by its nature, or depends on the value.\n\n";
    for (const Fault* fault : faults) {
        text += pad(usage_of(*fault), 24).append(fault->breaks) + "\n";
        text += line(fault->value_syntax, fault_range(*fault));
        if (fault->value != Fault::Value::none) text += line("example", fault_example(*fault));
        text += line("boards", boards_text(*fault));
        text += line(sight_text(fault->sight), fault->verdict);
    }
    return text;
}

std::string faults_as_json(const std::vector<const Fault*>& faults) {
    Json list = Json::array();
    for (const Fault* fault : faults)
        list.add(json_of(*fault));
    return list.dump(2) + "\n";
}

std::string universe_as_text(std::optional<Board> board, const std::string& pattern) {
    std::string text;
    for (const auto& [name, fault] : matching_universe(board, pattern)) {
        text += pad(std::string(name), 6) + pad(fault->fault, 36) +
                pad(std::string(fault->unit), 11) + std::string(name_of(fault->expected));
        if (!fault->why.empty()) text.append(": ").append(fault->why);
        text += "\n";
    }
    return text;
}

std::string universe_as_json(std::optional<Board> board, const std::string& pattern) {
    Json list = Json::array();
    for (const auto& [name, fault] : matching_universe(board, pattern))
        list.add(Json::object()
                     .set("fault", fault->fault)
                     .set("board", name)
                     .set("unit", fault->unit)
                     .set("expected", name_of(fault->expected))
                     .set("why", fault->why));
    return list.dump(2) + "\n";
}

std::string keys_as_text() {
    std::string text = "code  letter  scenario    at the panel\n";
    for (const Key& key : keys)
        text += pad(std::to_string(key.code), 5) + pad(std::string(1, key.letter), 7) +
                pad(std::string(key.action), 11) + std::string(key.name) + "\n";
    return text;
}

std::string scenario_as_text(const Options& options) {
    const Setup& setup = options.setup;
    std::string text = options.scenario + ": board ";
    text.append(name_of(boards, setup.board)).append(", operator ");
    text.append(name_of(operators, setup.operator_kind)).append(", seed ");
    text.append(std::to_string(setup.seed)).append(", limit ");
    text.append(short_seconds(setup.limit_us)).append(" s, pace ");
    text.append(setup.pace ? short_number(*setup.pace) : "max").append("\n");
    for (const std::string& argument : options.arguments)
        text += "argument " + argument + "\n";
    for (const Verdict verdict : options.expected)
        text.append("verdict ").append(verdict_name(verdict)).append("\n");
    for (const Demand& demand : options.demands)
        text += demand.place + ": " + demand.words() + "\n";
    return text + std::to_string(setup.steps.size()) + " steps, " +
           std::to_string(options.demands.size()) + " demands\n";
}

} // namespace k4sim
