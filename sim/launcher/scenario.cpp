#include "sim/launcher/scenario.h"

#include "sim/formats/short_number.h"
#include "sim/launcher/event_kinds.h"
#include "sim/launcher/fault_setting.h"
#include "sim/launcher/options.h"
#include "sim/launcher/scenario_file.h"
#include "sim/models/faults.h"
#include "sim/models/nearest.h"
#include "sim/models/universe.h"
#include "sim/operator/action.h"
#include "sim/setup_choices.h"

#include <algorithm>
#include <iterator>
#include <tuple>

#define TOML_EXCEPTIONS 1
#include <toml++/toml.h>

namespace k4sim {

namespace {

using Trigger = ScenarioStep::Trigger;

using Words = std::vector<std::string_view>;

class Reader {
public:
    Reader(const std::string& path, Options& options, std::optional<Board> board)
        : path_(path), options_(options), setup_(options.setup), board_(board) {}

    void read() {
        const toml::table file = parse();
        check_keys(file, "",
                   {"board", "operator", "seed", "schedule", "arguments", "limit", "pace", "faults",
                    "expect", "step"});
        for (const auto& [key, node] : file)
            top_level(key, node);
        if (board_) setup_.board = *board_;
        if (const toml::node* faults = file.get("faults")) read_faults(*faults);
        // Steps last: whether a fault can be had depends on the board.
        if (const toml::node* steps = file.get("step"))
            for (const toml::node& step : list_of(*steps, "step"))
                read_step(table_of(step, "step"));
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

    std::string place_of(const toml::node& node) const {
        return path_ + ":" + std::to_string(node.source().begin.line);
    }

    [[noreturn]] void fail(const toml::node& node, const std::string& why) const {
        throw UsageError(place_of(node) + ": " + why);
    }

    // where: " in a step".
    void check_keys(const toml::table& table, const std::string& where, const Words& known) const {
        for (const auto& [key, node] : table)
            if (std::ranges::find(known, key.str()) == known.end())
                fail(node, "unknown key " + std::string(key.str()) + where + "; known are " +
                               alternatives(known) + did_you_mean(key.str(), known));
    }

    const toml::array& list_of(const toml::node& node, const std::string& key) const {
        const toml::array* list = node.as_array();
        if (list == nullptr) fail(node, key + " must be a list: write [[" + key + "]] before each");
        return *list;
    }

    const toml::table& table_of(const toml::node& node, const std::string& key) const {
        const toml::table* table = node.as_table();
        if (table == nullptr)
            fail(node, key + " must be a list: write [[" + key + "]] before each");
        return *table;
    }

    std::string text_of(const toml::node& node, std::string_view key) const {
        const auto text = node.value_exact<std::string>();
        if (!text) fail(node, std::string(key) + " must be a text in quotes");
        if (text->empty()) fail(node, std::string(key) + " must not be empty");
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
        const auto duration = from_seconds(node.is_number() ? node.value<double>() : std::nullopt);
        if (!duration) fail(node, std::string(key) + " must be a number of seconds from 0 on");
        return *duration;
    }

    void top_level(const toml::key& key, const toml::node& node) {
        if (key == "board") setup_.board = choice_of(node, "board", boards);
        if (key == "operator") setup_.operator_kind = choice_of(node, "operator", operators);
        if (key == "seed") setup_.seed = seed_of(node);
        if (key == "schedule") setup_.schedule = choice_of(node, "schedule", schedules);
        if (key == "arguments") read_arguments(node);
        if (key == "limit") setup_.limit_us = limit_of(node);
        if (key == "pace") setup_.pace = pace_of(node);
        if (key == "expect") read_expected(node);
    }

    std::uint64_t seed_of(const toml::node& node) const {
        const auto seed = node.value_exact<std::int64_t>();
        if (!seed || *seed < 0) fail(node, "seed must be a whole number from 0 on");
        return static_cast<std::uint64_t>(*seed);
    }

    void read_arguments(const toml::node& node) {
        const toml::array* list = node.as_array();
        if (list == nullptr) fail(node, "arguments must be a list of texts: [\"run\"]");
        for (const toml::node& argument : *list)
            options_.arguments.push_back(text_of(argument, "an argument"));
    }

    // "NAME=VALUE@SECONDS", as --fault.
    void read_faults(const toml::node& node) {
        const toml::array* list = node.as_array();
        if (list == nullptr) fail(node, "faults must be a list of texts: [\"key-dead=5\"]");
        for (const toml::node& one : *list) {
            const std::string text = text_of(one, "a fault");
            const auto fault = fault_setting(text);
            if (!fault) fail(one, "\"" + text + "\" must end with @ and a number of seconds");
            const std::string error = fault_error(setup_.board, fault->name, fault->value);
            if (!error.empty()) fail(one, error);
            setup_.faults.push_back(*fault);
        }
    }

    std::int64_t limit_of(const toml::node& node) const {
        const std::int64_t limit_us = microseconds_of(node, "limit");
        if (limit_us == 0) fail(node, "limit: a run needs some time; say for example 600");
        return limit_us;
    }

    std::optional<double> pace_of(const toml::node& node) const {
        if (node.value_exact<std::string>() == "max") return std::nullopt;
        const auto pace = node.is_number() ? node.value<double>() : std::nullopt;
        if (!is_factor(pace)) fail(node, "pace must be \"max\", or a factor above 0 such as 1");
        return pace;
    }

    void read_step(const toml::table& table) {
        ScenarioStep step;
        const toml::node* at = table.get("at");
        const toml::node* when = table.get("when");
        const toml::node* after = table.get("after");
        const toml::node* action = table.get("do");
        check_keys(table, " in a step", {"at", "when", "after", "do"});
        if (action == nullptr) fail(table, "a step needs do, what is done");
        if ((at == nullptr) == (when == nullptr)) fail(table, "a step needs either at or when");
        if (after != nullptr && when == nullptr) fail(*after, "after goes with when");
        if (at != nullptr) step.at_us = microseconds_of(*at, "at");
        if (after != nullptr) step.at_us = microseconds_of(*after, "after");
        if (when != nullptr) std::tie(step.trigger, step.text) = trigger_of(*when, "when");
        step.action = text_of(*action, "do");
        const std::string error = action_error(setup_.board, step.action);
        if (!error.empty()) fail(*action, error);
        setup_.steps.push_back(step);
    }

    std::pair<Trigger, std::string> trigger_of(const toml::node& node,
                                               const std::string& key) const {
        const std::string when = text_of(node, key);
        if (when == "beep") return {Trigger::beep, ""};
        const std::size_t colon = when.find(':');
        const std::string kind = when.substr(0, colon);
        const std::string text = colon == std::string::npos ? "" : when.substr(colon + 1);
        const bool on_console = kind == "console";
        if (!text.empty() && (on_console || kind == "screen"))
            return {on_console ? Trigger::console : Trigger::screen, text};
        fail(node, key + " must be \"console:TEXT\", \"screen:TEXT\" or \"beep\"" +
                       did_you_mean(kind, {"console", "screen", "beep"}));
    }

    // Verdicts, a list of them, or tables.
    void read_expected(const toml::node& node) {
        if (node.is_string()) return read_verdicts(node);
        const toml::array* list = node.as_array();
        if (list == nullptr)
            fail(node,
                 "expect must be a verdict in quotes, or a list: write [[expect]] before each");
        for (const toml::node& one : *list) {
            if (one.is_string())
                read_verdicts(one);
            else
                read_demand(table_of(one, "expect"));
        }
    }

    void read_verdicts(const toml::node& node) {
        const auto refuse = [&](const std::string& why) { fail(node, why); };
        std::ranges::copy(verdicts_of(text_of(node, "expect"), refuse),
                          std::back_inserter(options_.expected));
    }

    void read_demand(const toml::table& table) {
        check_keys(table, " in an expect",
                   {"verdict", "screen", "console", "event", "with", "within", "never", "after"});
        if (const toml::node* verdict = table.get("verdict")) {
            if (table.size() > 1) fail(*verdict, "verdict goes with nothing else");
            return read_verdicts(*verdict);
        }
        Demand demand;
        demand.place = place_of(table);
        demand.sight = sight_of(table);
        if (const toml::node* within = table.get("within"))
            demand.within_us = microseconds_of(*within, "within");
        if (const toml::node* never = table.get("never")) {
            if (never->value_exact<bool>() != true) fail(*never, "never must be true");
            demand.never = true;
        }
        if (!demand.never && !demand.within_us)
            fail(table, "an expect needs within = SECONDS, or never = true");
        if (const toml::node* after = table.get("after")) read_after(*after, demand);
        options_.demands.push_back(demand);
    }

    Sight sight_of(const toml::table& table) const {
        const toml::node* screen = table.get("screen");
        const toml::node* console = table.get("console");
        const toml::node* event = table.get("event");
        if ((screen != nullptr) + (console != nullptr) + (event != nullptr) != 1)
            fail(table, "an expect needs one of screen, console, event and verdict");
        if (const toml::node* with = table.get("with"); with != nullptr && event == nullptr)
            fail(*with, "with goes with event");
        if (screen != nullptr) return seen(Sight::Kind::screen, text_of(*screen, "screen"));
        if (console != nullptr) return seen(Sight::Kind::console, text_of(*console, "console"));
        return event_of(*event, table.get("with"));
    }

    static Sight seen(Sight::Kind kind, const std::string& text) {
        const std::string what = kind == Sight::Kind::screen ? "screen" : "console";
        return {kind, text, {}, {}, what + " \"" + text + "\""};
    }

    // What can't be seen would never be missed either.
    Sight event_of(const toml::node& node, const toml::node* with) const {
        const std::string text = text_of(node, "event");
        const std::size_t blank = text.find(' ');
        const std::string source = text.substr(0, blank);
        const std::string name = blank == std::string::npos ? "" : text.substr(blank + 1);
        const EventKind* const kind = find_event_kind(source);
        if (kind == nullptr) fail(node, no_such("source of events", source, event_sources()));
        const bool is_fault_of_site = source == "fault" && is_site(name);
        if (!is_fault_of_site && std::ranges::find(kind->names, name) == kind->names.end())
            fail(node, no_such("event of " + source, name, kind->names));
        Sight sight{Sight::Kind::event, source, {name}, {}, "event \"" + text + "\""};
        if (with != nullptr) read_members(*with, *kind, sight);
        return sight;
    }

    void read_members(const toml::node& node, const EventKind& kind, Sight& sight) const {
        const toml::table* members = node.as_table();
        if (members == nullptr) fail(node, "with must be a table: {key = \"5\"}");
        check_keys(*members, " of " + std::string(kind.source), kind.members);
        for (const auto& [key, value] : *members) {
            const std::string name(key.str());
            sight.members[name] = pattern_of(value, name);
            sight.words += " " + name + "=" + sight.members[name];
        }
    }

    std::string pattern_of(const toml::node& node, const std::string& key) const {
        if (const auto number = node.value_exact<std::int64_t>()) return std::to_string(*number);
        if (const auto flag = node.value_exact<bool>()) return *flag ? "true" : "false";
        return text_of(node, key);
    }

    void read_after(const toml::node& node, Demand& demand) const {
        if (node.is_number()) {
            demand.after_us = microseconds_of(node, "after");
            return;
        }
        const auto [trigger, text] = trigger_of(node, "after");
        if (trigger == Trigger::beep)
            demand.after = {Sight::Kind::event, "speaker", {"tone", "sound"}, {}, "beep"};
        else
            demand.after =
                seen(trigger == Trigger::screen ? Sight::Kind::screen : Sight::Kind::console, text);
    }

    const std::string& path_;
    Options& options_;
    Setup& setup_;
    std::optional<Board> board_;
};

} // namespace

void read_scenario(const std::string& path, Options& options, std::optional<Board> board) {
    Reader(path, options, board).read();
}

} // namespace k4sim
