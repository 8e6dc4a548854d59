#include "sim/launcher/options.h"

#include "sim/launcher/scenario.h"
#include "sim/launcher/short_number.h"
#include "sim/models/faults.h"
#include "sim/models/nearest.h"
#include "sim/setup_choices.h"

#include <algorithm>
#include <charconv>
#include <iterator>

namespace k4sim {

namespace {

template <class Number>
std::optional<Number> whole_text_number(const std::string& text) {
    Number number{};
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc{} || end != text.data() + text.size()) return std::nullopt;
    return number;
}

std::int64_t microseconds(const std::string& option, const std::string& text) {
    const auto duration = from_seconds(whole_text_number<double>(text));
    if (!duration)
        throw UsageError(option + ": \"" + text +
                         "\" is no number of seconds; say for example 600");
    return *duration;
}

template <class Choices>
auto choice_of(const std::string& kind, const std::string& name, const Choices& choices) {
    const auto value = value_of(choices, name);
    if (!value) throw UsageError("--" + kind + ": " + no_such(kind, name, names_of(choices)));
    return *value;
}

void set_seed(Setup& setup, const std::string& value) {
    const auto seed = whole_text_number<std::uint64_t>(value);
    if (!seed)
        throw UsageError("--seed: \"" + value + "\" is no seed; say a whole number from 0 on");
    setup.seed = *seed;
}

void set_pace(Setup& setup, const std::string& value) {
    setup.pace.reset();
    if (value == "max") return;
    setup.pace = whole_text_number<double>(value);
    if (!is_factor(setup.pace))
        throw UsageError("--pace: \"" + value +
                         "\" is no pace; say max, or a factor above 0 such as 1");
}

std::int64_t some_time(const std::string& option, const std::string& value) {
    const std::int64_t time_us = microseconds(option, value);
    if (time_us == 0) throw UsageError(option + ": a run needs some time; say for example 600");
    return time_us;
}

void set_record(Options& options, const std::string& value) {
    if (value.empty()) throw UsageError("--record needs the name of a folder");
    options.record = value;
}

// VERDICT[,VERDICT]
void set_expected(Options& options, const std::string& value) {
    options.expected =
        verdicts_of(value, [](const std::string& why) { throw UsageError("--expect: " + why); });
}

// NAME[=VALUE][@SECONDS]
void add_fault(Setup& setup, const std::string& text) {
    FaultSetting fault;
    const std::size_t at = text.rfind('@');
    if (at != std::string::npos) fault.at_us = microseconds("--fault " + text, text.substr(at + 1));
    const std::string setting = text.substr(0, at);
    const std::size_t equals = setting.find('=');
    fault.name = setting.substr(0, equals);
    if (equals != std::string::npos) fault.value = setting.substr(equals + 1);
    setup.faults.push_back(fault);
}

constexpr std::string_view command_texts =
    "k4sim run, k4sim check, k4sim faults, k4sim keys or k4sim --help";

std::string bars(const std::vector<std::string_view>& names) {
    std::string text;
    for (const std::string_view name : names)
        text.append(text.empty() ? "" : "|").append(name);
    return text;
}

struct Option {
    std::string_view name;
    std::string values; // empty: it takes none
    std::string_view meaning;
    void (*set)(Options& options, const std::string& value);
};

// What a scenario file says comes before what they set.
const std::vector<Option>& option_table() {
    static const std::vector<Option> options = {
        {"--board", bars(names_of(boards)), "mainboard generation (aes)",
         [](Options& o, auto& value) { o.setup.board = choice_of("board", value, boards); }},
        {"--operator", bars(names_of(operators)), "who stands at the panel (auto)",
         [](Options& o, auto& value) {
             o.setup.operator_kind = choice_of("operator", value, operators);
         }},
        {"--scenario", "FILE", "TOML file of settings, steps and demands (-: standard input)",
         [](Options&, auto&) {}},
        {"--fault", "NAME[=VALUE][@SECONDS]", "a fault, from the start or from a second on",
         [](Options& o, auto& value) { add_fault(o.setup, value); }},
        {"--seed", "N", "the same seed gives the same run (1)",
         [](Options& o, auto& value) { set_seed(o.setup, value); }},
        {"--schedule", bars(names_of(schedules)),
         "which thread goes on: in turn, or as the seed has it (fair)",
         [](Options& o, auto& value) {
             o.setup.schedule = choice_of("schedule", value, schedules);
         }},
        {"--pace", "FACTOR|max", "1 is real time (max)",
         [](Options& o, auto& value) { set_pace(o.setup, value); }},
        {"--limit", "SECONDS", "virtual end of the run, status 124 (3600)",
         [](Options& o, auto& value) { o.setup.limit_us = some_time("--limit", value); }},
        {"--stall", "SECONDS", "real time without virtual time: the end, status 125 (20)",
         [](Options& o, auto& value) { o.setup.stall_us = some_time("--stall", value); }},
        {"--record", "DIR", "keep events, pictures, console and report there", set_record},
        {"--expect", "VERDICT[,VERDICT]", "status 0 for one of these, 3 for any other run",
         set_expected},
        {"--quiet", "", "no closing line", [](Options& o, auto&) { o.quiet = true; }},
    };
    return options;
}

// Null when there is none of that name.
const Option* find_option(std::string_view name) {
    const auto found = std::ranges::find(option_table(), name, &Option::name);
    return found == option_table().end() ? nullptr : &*found;
}

// As said in the command line.
struct Said {
    const Option* option;
    std::string value;
};

// The value that was said last; null: none was.
const std::string* last_said(const std::vector<Said>& said, std::string_view name) {
    const auto found = std::find_if(said.rbegin(), said.rend(),
                                    [&](const Said& one) { return one.option->name == name; });
    return found == said.rend() ? nullptr : &found->value;
}

// The file first, so that the command line goes before it; without either, an automatic operator.
void settle(Options& options, const std::vector<Said>& said) {
    options.setup.operator_kind = OperatorKind::automatic;
    std::optional<Board> board;
    if (const std::string* name = last_said(said, "--board"))
        board = choice_of("board", *name, boards);
    if (const std::string* file = last_said(said, "--scenario"))
        read_scenario(*file, options, board);
    for (const auto& [option, value] : said)
        option->set(options, value);
    for (const FaultSetting& fault : options.setup.faults) {
        const std::string error = fault_error(options.setup.board, fault.name, fault.value);
        if (!error.empty()) throw UsageError("--fault: " + error);
    }
}

std::vector<std::string_view> option_names() {
    std::vector<std::string_view> names;
    std::ranges::transform(option_table(), std::back_inserter(names), &Option::name);
    return names;
}

// The option at `i`, which moves on to a value that is an argument of its own.
Said take_option(const std::vector<std::string>& arguments, std::size_t& i) {
    const std::size_t equals = arguments[i].find('=');
    const std::string name = arguments[i].substr(0, equals);
    const Option* const option = find_option(name);
    if (option == nullptr)
        throw UsageError("there is no option " + name + "; k4sim --help lists them all" +
                         did_you_mean(name, option_names()));
    const bool takes_value = !option->values.empty();
    if (equals != std::string::npos) {
        if (!takes_value) throw UsageError(name + " takes no value: write just " + name);
        return {option, arguments[i].substr(equals + 1)};
    }
    if (!takes_value) return {option, ""};
    if (i + 1 >= arguments.size())
        throw UsageError(name + " needs a value; k4sim --help tells which");
    return {option, arguments[++i]};
}

Options parse_run(const std::vector<std::string>& arguments) {
    Options options;
    options.command = Command::run;
    std::vector<Said> said;
    std::size_t i = 1;
    for (; i < arguments.size() && arguments[i].starts_with("-"); ++i) {
        if (arguments[i] == "--") {
            ++i;
            break;
        }
        if (arguments[i] == "--help" || arguments[i] == "-h") return {};
        said.push_back(take_option(arguments, i));
    }
    options.program.assign(arguments.begin() +
                               static_cast<std::ptrdiff_t>(std::min(i, arguments.size())),
                           arguments.end());
    if (options.program.empty())
        throw UsageError("no PROGRAM to run; say for example: k4sim run -- k4selftest run");
    settle(options, said);
    if (options.program.size() == 1)
        std::ranges::copy(options.arguments, std::back_inserter(options.program));
    return options;
}

Options parse_check(const std::vector<std::string>& arguments) {
    if (arguments.size() != 2)
        throw UsageError("k4sim check takes one FILE, or - for standard input");
    Options options;
    options.command = Command::check;
    options.scenario = arguments[1];
    options.setup.operator_kind = OperatorKind::automatic;
    read_scenario(options.scenario, options);
    return options;
}

// [--json] [PATTERN]
Options parse_faults(const std::vector<std::string>& arguments) {
    Options options;
    options.command = Command::faults;
    for (std::size_t i = 1; i < arguments.size(); ++i) {
        if (arguments[i] == "--json")
            options.json = true;
        else if (options.pattern.empty() && !arguments[i].starts_with("-"))
            options.pattern = arguments[i];
        else
            throw UsageError("k4sim faults takes one PATTERN and --json, not \"" + arguments[i] +
                             "\"");
    }
    return options;
}

} // namespace

Options parse_options(const std::vector<std::string>& arguments) {
    if (arguments.empty()) throw UsageError("nothing to do; say " + std::string(command_texts));
    Options options;
    const std::string& command = arguments[0];
    if (command == "run") return parse_run(arguments);
    if (command == "check") return parse_check(arguments);
    if (command == "faults") return parse_faults(arguments);
    if (command == "--help" || command == "-h" || command == "help") return options;
    if (command == "keys" && arguments.size() == 1) {
        options.command = Command::keys;
        return options;
    }
    throw UsageError("there is no command \"" + command + "\" of that form; say " +
                     std::string(command_texts) +
                     did_you_mean(command, {"run", "check", "faults", "keys", "help"}));
}

std::string usage() {
    std::string text = "k4sim runs an unmodified program on a virtual K/4.\n\n"
                       "  k4sim run [OPTION]... [--] PROGRAM [ARGUMENT]...\n"
                       "  k4sim check FILE|-\n"
                       "  k4sim faults [--json] [PATTERN]\n"
                       "  k4sim keys\n\n";
    for (const Option& option : option_table()) {
        std::string line = "  " + std::string(option.name) + " " + option.values;
        line.resize(std::max<std::size_t>(line.size() + 2, 40), ' ');
        text += line + std::string(option.meaning) + "\n";
    }
    text += "\nExit status: the program's own; 124 time limit, 125 the program died or can never "
            "go on,\n"
            "2 this command line can't be carried out. With --expect 0, or 3 when the verdict is\n"
            "another, or a fault or step never came. 3 when a demand of the scenario failed.\n";
    return text;
}

} // namespace k4sim
