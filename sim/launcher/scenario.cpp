#include "sim/launcher/scenario.h"

#include "sim/launcher/options.h"
#include "sim/launcher/scenario_file.h"
#include "sim/models/nearest.h"
#include "sim/operator/action.h"
#include "sim/setup_choices.h"

#include <cmath>

#define TOML_EXCEPTIONS 1
#include <toml++/toml.h>

namespace k4sim {

namespace {

constexpr double us_per_s = 1e6;
constexpr double seconds_max = 1e9;

class Reader {
public:
    Reader(const std::string& path, Setup& setup, std::optional<Board> board)
        : path_(path), setup_(setup), board_(board) {}

    void read() {
        const toml::table file = parse();
        for (const auto& [key, node] : file)
            top_level(key, node);
        if (board_) setup_.board = *board_;
        // Steps last: whether a fault can be had depends on the board.
        if (const toml::node* steps = file.get("step")) read_steps(*steps);
    }

private:
    toml::table parse() const {
        const std::string text = read_scenario_file(path_);
        try {
            return toml::parse(text);
        } catch (const toml::parse_error& error) {
            throw UsageError(path_ + ":" + std::to_string(error.source().begin.line) + ": " +
                             one_line(std::string(error.description())));
        }
    }

    static std::string one_line(std::string text) {
        for (char& c : text)
            if (c == '\n' || c == '\r') c = ' ';
        return text;
    }

    [[noreturn]] void fail(const toml::node& node, const std::string& why) const {
        throw UsageError(path_ + ":" + std::to_string(node.source().begin.line) + ": " + why);
    }

    std::string text_of(const toml::node& node, std::string_view key) const {
        const auto text = node.value_exact<std::string>();
        if (!text) fail(node, std::string(key) + " must be a text in quotes");
        return *text;
    }

    template <class Choices>
    auto choice_of(const toml::node& node, std::string_view key, const Choices& choices) const {
        const std::string name = text_of(node, key);
        const auto value = value_of(choices, name);
        if (!value) fail(node, no_such(key, name, names_of(choices)));
        return *value;
    }

    std::int64_t microseconds_of(const toml::node& node, std::string_view key) const {
        const auto seconds = node.is_number() ? node.value<double>() : std::nullopt;
        if (!seconds || !(*seconds >= 0) || *seconds > seconds_max)
            fail(node, std::string(key) + " must be a number of seconds from 0 on");
        return std::llround(*seconds * us_per_s);
    }

    void top_level(const toml::key& key, const toml::node& node) {
        if (key == "board") {
            setup_.board = choice_of(node, "board", boards);
        } else if (key == "operator") {
            setup_.operator_kind = choice_of(node, "operator", operators);
        } else if (key == "seed") {
            const auto seed = node.value_exact<std::int64_t>();
            if (!seed || *seed < 0) fail(node, "seed must be a whole number from 0 on");
            setup_.seed = static_cast<std::uint64_t>(*seed);
        } else if (key != "step") {
            fail(node, "unknown key " + std::string(key.str()) +
                           "; known are board, operator, seed and [[step]]");
        }
    }

    void read_steps(const toml::node& steps) {
        const toml::array* list = steps.as_array();
        if (list == nullptr) fail(steps, "step must be a list: write [[step]] before each");
        for (const toml::node& node : *list) {
            const toml::table* step = node.as_table();
            if (step == nullptr) fail(node, "step must be a list: write [[step]] before each");
            read_step(*step);
        }
    }

    void read_step(const toml::table& table) {
        ScenarioStep step;
        const toml::node* at = table.get("at");
        const toml::node* when = table.get("when");
        const toml::node* after = table.get("after");
        const toml::node* action = table.get("do");
        for (const auto& [key, node] : table)
            if (key != "at" && key != "when" && key != "after" && key != "do")
                fail(node, "unknown key " + std::string(key.str()) +
                               " in a step; known are at, when, after and do");
        if (action == nullptr) fail(table, "a step needs do, what is done");
        if ((at == nullptr) == (when == nullptr)) fail(table, "a step needs either at or when");
        if (after != nullptr && when == nullptr) fail(*after, "after goes with when");
        if (at != nullptr) step.at_us = microseconds_of(*at, "at");
        if (after != nullptr) step.at_us = microseconds_of(*after, "after");
        if (when != nullptr) read_trigger(*when, step);
        step.action = text_of(*action, "do");
        const std::string error = action_error(setup_.board, step.action);
        if (!error.empty()) fail(*action, error);
        setup_.steps.push_back(step);
    }

    void read_trigger(const toml::node& node, ScenarioStep& step) const {
        const std::string when = text_of(node, "when");
        if (when == "beep") {
            step.trigger = ScenarioStep::Trigger::beep;
        } else if (when.starts_with("console:") && when.size() > 8) {
            step.trigger = ScenarioStep::Trigger::console;
            step.text = when.substr(8);
        } else if (when.starts_with("screen:") && when.size() > 7) {
            step.trigger = ScenarioStep::Trigger::screen;
            step.text = when.substr(7);
        } else {
            fail(node, "when must be \"console:TEXT\", \"screen:TEXT\" or \"beep\"");
        }
    }

    const std::string& path_;
    Setup& setup_;
    std::optional<Board> board_;
};

} // namespace

void read_scenario(const std::string& path, Setup& setup, std::optional<Board> board) {
    Reader(path, setup, board).read();
}

} // namespace k4sim
