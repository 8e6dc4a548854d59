#include "sim/operator/action.h"

#include "sim/models/faults.h"
#include "sim/models/nearest.h"
#include "sim/models/panel/keys.h"
#include "sim/operator/words.h"

#include <array>
#include <charconv>
#include <vector>

namespace k4sim {

namespace {

constexpr int steps_max = 1000;

std::optional<int> number_from(std::string_view text) {
    int number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc{} || end != text.data() + text.size()) return std::nullopt;
    return number;
}

std::optional<Action> parse_key(Action::Kind kind, std::string_view key) {
    if (key.size() != 1 || key_characters.find(key[0]) == std::string_view::npos)
        return std::nullopt;
    Action action;
    action.kind = kind;
    action.key = key[0];
    return action;
}

std::optional<Action> parse_turn(std::string_view encoder, std::string_view steps) {
    Action action;
    action.kind = Action::Kind::turn;
    action.encoder = number_from(encoder).value_or(0);
    action.steps = number_from(steps).value_or(0);
    const bool known = action.encoder == 1 || action.encoder == 2;
    if (!known || action.steps == 0 || action.steps < -steps_max || action.steps > steps_max)
        return std::nullopt;
    return action;
}

std::optional<Action> parse_cable(Action::Kind kind, std::string_view cable) {
    Action action;
    action.kind = kind;
    action.cable = cable == "analog" ? Action::Cable::analog : Action::Cable::digital;
    if (cable != "analog" && cable != "digital") return std::nullopt;
    return action;
}

Action parse_fault(Action::Kind kind, std::string_view setting) {
    Action action;
    action.kind = kind;
    const std::size_t equals = setting.find('=');
    action.name = setting.substr(0, equals);
    if (equals != std::string_view::npos) action.value = setting.substr(equals + 1);
    return action;
}

// The arguments that an action takes first.
std::vector<std::string_view> arguments_of(std::string_view verb) {
    if (verb == "turn") return {"1", "2"};
    if (verb == "plug" || verb == "unplug") return {"analog", "digital"};
    std::vector<std::string_view> keys;
    for (std::size_t i = 0; i < key_characters.size(); ++i)
        keys.push_back(key_characters.substr(i, 1));
    return keys;
}

// With the nearest verb and argument; empty when that can't be done either.
std::string nearest_action(std::vector<std::string_view> words) {
    if (words.size() < 2) return "";
    words[0] =
        nearest(words[0], {"press", "hold", "release", "turn", "plug", "unplug", "fault", "clear"});
    if (words[0] != "fault" && words[0] != "clear")
        if (const auto argument = nearest(words[1], arguments_of(words[0])); !argument.empty())
            words[1] = argument;
    std::string line;
    for (const std::string_view word : words)
        line.append(line.empty() ? "" : " ").append(word);
    return parse_action(line) ? line : "";
}

} // namespace

std::optional<Action> parse_action(std::string_view line) {
    const std::vector<std::string_view> words = words_of(line);
    if (words.size() == 3 && words[0] == "turn") return parse_turn(words[1], words[2]);
    if (words.size() != 2) return std::nullopt;
    if (words[0] == "press") return parse_key(Action::Kind::press, words[1]);
    if (words[0] == "hold") return parse_key(Action::Kind::hold, words[1]);
    if (words[0] == "release") return parse_key(Action::Kind::release, words[1]);
    if (words[0] == "plug") return parse_cable(Action::Kind::plug, words[1]);
    if (words[0] == "unplug") return parse_cable(Action::Kind::unplug, words[1]);
    if (words[0] == "fault") return parse_fault(Action::Kind::fault, words[1]);
    if (words[0] == "clear") return parse_fault(Action::Kind::clear, words[1]);
    return std::nullopt;
}

std::string action_error(Board board, std::string_view line) {
    const auto action = parse_action(line);
    if (!action) {
        const std::string meant = nearest_action(words_of(line));
        std::string error = "\"";
        error.append(line).append("\" can't be done; say press, hold or release with one of ");
        error.append(key_characters);
        return error
            .append(", turn 1 or 2 by a number of steps, plug or unplug analog or "
                    "digital, fault or clear NAME=VALUE")
            .append(meant.empty() ? "" : "; did you mean " + meant + "?");
    }
    if (action->kind == Action::Kind::fault) return fault_error(board, action->name, action->value);
    if (action->kind == Action::Kind::clear) return clear_error(board, action->name, action->value);
    return {};
}

} // namespace k4sim
