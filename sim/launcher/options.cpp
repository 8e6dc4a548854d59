#include "sim/launcher/options.h"

#include "sim/launcher/scenario.h"
#include "sim/models/faults.h"
#include "sim/models/nearest.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <functional>
#include <iterator>
#include <sstream>

namespace k4sim {

namespace {

constexpr double us_per_s = 1e6;
constexpr double seconds_max = 1e9;

// Linux takes 128 KiB for one variable of the environment, its name included.
constexpr std::size_t setup_text_max = 128 * 1024 - 100;

// What the command line sets, each thing at most as often as it is said.
struct Said {
    std::optional<std::string> scenario;
    std::optional<Board> board;
    std::optional<OperatorKind> operator_kind;
    std::optional<std::uint64_t> seed;
};

template <class Number>
std::optional<Number> whole_text_number(const std::string& text) {
    Number number{};
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc{} || end != text.data() + text.size()) return std::nullopt;
    return number;
}

std::int64_t microseconds(const std::string& option, const std::string& text) {
    const auto seconds = whole_text_number<double>(text);
    if (!seconds || !(*seconds >= 0) || *seconds > seconds_max)
        throw UsageError(option + ": \"" + text +
                         "\" is no number of seconds; say for example 600");
    return std::llround(*seconds * us_per_s);
}

void set_board(Said& said, const std::string& value) {
    said.board = board_from_name(value);
    if (!said.board) throw UsageError("--board: " + unknown_board(value));
}

void set_operator(Said& said, const std::string& value) {
    if (value != "auto" && value != "none")
        throw UsageError("--operator: " + unknown_operator(value));
    said.operator_kind = value == "auto" ? OperatorKind::automatic : OperatorKind::none;
}

void set_seed(Said& said, const std::string& value) {
    said.seed = whole_text_number<std::uint64_t>(value);
    if (!said.seed)
        throw UsageError("--seed: \"" + value + "\" is no seed; say a whole number from 0 on");
}

void set_schedule(Setup& setup, const std::string& value) {
    if (value != "fair" && value != "random")
        throw UsageError("--schedule: there is no schedule \"" + value +
                         "\"; choose fair or random");
    setup.schedule = value == "random" ? Schedule::random : Schedule::fair;
}

void set_pace(Setup& setup, const std::string& value) {
    setup.pace.reset();
    if (value == "max") return;
    setup.pace = whole_text_number<double>(value);
    if (!setup.pace || !std::isfinite(*setup.pace) || !(*setup.pace > 0))
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
    options.expected.clear();
    std::istringstream names(value + ",");
    for (std::string name; std::getline(names, name, ',');) {
        const auto verdict = verdict_from_name(name);
        if (!verdict)
            throw UsageError("--expect: there is no verdict \"" + name +
                             "\"; choose passed, aborted, not-started, not-run, died or undecided" +
                             did_you_mean(name, {"passed", "aborted", "not-started", "not-run",
                                                 "died", "undecided"}));
        options.expected.push_back(*verdict);
    }
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

constexpr std::string_view command_texts = "k4sim run, k4sim faults, k4sim keys or k4sim --help";

struct OptionText {
    std::string_view name;
    std::string_view values; // empty: it takes none
    std::string_view meaning;
};

constexpr std::array<OptionText, 12> option_texts{{
    {"--board", "aes|plain|i2c|engine|none", "mainboard generation (aes)"},
    {"--operator", "auto|none", "who stands at the panel (auto)"},
    {"--scenario", "FILE", "TOML file of steps: keys, knobs, cables, faults, when"},
    {"--fault", "NAME[=VALUE][@SECONDS]", "a fault, from the start or from a second on"},
    {"--seed", "N", "the same seed gives the same run (1)"},
    {"--schedule", "fair|random", "which thread goes on: in turn, or as the seed has it (fair)"},
    {"--pace", "FACTOR|max", "1 is real time (max)"},
    {"--limit", "SECONDS", "virtual end of the run, status 124 (3600)"},
    {"--stall", "SECONDS", "real time without virtual time: the end, status 125 (20)"},
    {"--record", "DIR", "keep events, pictures, console and report there"},
    {"--expect", "VERDICT[,VERDICT]", "status 0 for one of these, 3 for any other run"},
    {"--quiet", "", "no closing line"},
}};

// Null when there is none of that name.
const OptionText* find_option(const std::string& name) {
    const auto found = std::ranges::find(option_texts, name, &OptionText::name);
    return found == option_texts.end() ? nullptr : &*found;
}

void apply(Options& options, Said& said, const std::string& name, const std::string& value) {
    const std::array<std::pair<std::string_view, std::function<void()>>, 12> actions{{
        {"--board", [&] { set_board(said, value); }},
        {"--operator", [&] { set_operator(said, value); }},
        {"--scenario", [&] { said.scenario = value; }},
        {"--fault", [&] { add_fault(options.setup, value); }},
        {"--seed", [&] { set_seed(said, value); }},
        {"--schedule", [&] { set_schedule(options.setup, value); }},
        {"--pace", [&] { set_pace(options.setup, value); }},
        {"--limit", [&] { options.setup.limit_us = some_time(name, value); }},
        {"--stall", [&] { options.setup.stall_us = some_time(name, value); }},
        {"--record", [&] { set_record(options, value); }},
        {"--expect", [&] { set_expected(options, value); }},
        {"--quiet", [&] { options.quiet = true; }},
    }};
    for (const auto& [option, action] : actions)
        if (option == name) action();
}

// The command line goes before the file; without either, an automatic operator.
void settle(Options& options, const Said& said) {
    std::vector<FaultSetting> faults = std::move(options.setup.faults);
    options.setup.faults.clear();
    options.setup.operator_kind = OperatorKind::automatic;
    if (said.scenario) read_scenario(*said.scenario, options.setup, said.board);
    if (said.board) options.setup.board = *said.board;
    if (said.operator_kind) options.setup.operator_kind = *said.operator_kind;
    if (said.seed) options.setup.seed = *said.seed;
    for (const FaultSetting& fault : faults) {
        const std::string error = fault_error(options.setup.board, fault.name, fault.value);
        if (!error.empty()) throw UsageError("--fault: " + error);
        options.setup.faults.push_back(fault);
    }
    if (encode(options.setup).size() > setup_text_max)
        throw UsageError("steps and faults are too many to hand to the program; use fewer steps");
}

std::vector<std::string_view> option_names() {
    std::vector<std::string_view> names;
    std::ranges::transform(option_texts, std::back_inserter(names), &OptionText::name);
    return names;
}

// Name and value of the option at `i`, which moves on to a value that is an argument of its own.
std::pair<std::string, std::string> take_option(const std::vector<std::string>& arguments,
                                                std::size_t& i) {
    const std::size_t equals = arguments[i].find('=');
    const std::string name = arguments[i].substr(0, equals);
    const OptionText* const option = find_option(name);
    if (option == nullptr)
        throw UsageError("there is no option " + name + "; k4sim --help lists them all" +
                         did_you_mean(name, option_names()));
    const bool takes_value = !option->values.empty();
    if (equals != std::string::npos) {
        if (!takes_value) throw UsageError(name + " takes no value: write just " + name);
        return {name, arguments[i].substr(equals + 1)};
    }
    if (!takes_value) return {name, ""};
    if (i + 1 >= arguments.size())
        throw UsageError(name + " needs a value; k4sim --help tells which");
    return {name, arguments[++i]};
}

Options parse_run(const std::vector<std::string>& arguments) {
    Options options;
    options.command = Command::run;
    Said said;
    std::size_t i = 1;
    for (; i < arguments.size() && arguments[i].starts_with("-"); ++i) {
        if (arguments[i] == "--") {
            ++i;
            break;
        }
        if (arguments[i] == "--help" || arguments[i] == "-h") return {};
        const auto [name, value] = take_option(arguments, i);
        apply(options, said, name, value);
    }
    options.program.assign(arguments.begin() +
                               static_cast<std::ptrdiff_t>(std::min(i, arguments.size())),
                           arguments.end());
    if (options.program.empty())
        throw UsageError("no PROGRAM to run; say for example: k4sim run -- k4selftest run");
    settle(options, said);
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
    if (command == "faults") return parse_faults(arguments);
    if (command == "--help" || command == "-h" || command == "help") return options;
    if (command == "keys" && arguments.size() == 1) {
        options.command = Command::keys;
        return options;
    }
    throw UsageError("there is no command \"" + command + "\" of that form; say " +
                     std::string(command_texts) +
                     did_you_mean(command, {"run", "faults", "keys", "help"}));
}

std::string unknown_board(const std::string& name) {
    return "there is no board \"" + name + "\"; choose aes, plain, i2c, engine or none" +
           did_you_mean(name, {"aes", "plain", "i2c", "engine", "none"});
}

std::string unknown_operator(const std::string& name) {
    return "there is no operator \"" + name + "\"; choose auto or none" +
           did_you_mean(name, {"auto", "none"});
}

std::string usage() {
    std::string text = "k4sim runs an unmodified program on a virtual K/4.\n\n"
                       "  k4sim run [OPTION]... [--] PROGRAM [ARGUMENT]...\n"
                       "  k4sim faults [--json] [PATTERN]\n"
                       "  k4sim keys\n\n";
    for (const OptionText& option : option_texts) {
        std::string line = "  " + std::string(option.name) + " " + std::string(option.values);
        line.resize(std::max<std::size_t>(line.size() + 2, 40), ' ');
        text += line + std::string(option.meaning) + "\n";
    }
    text += "\nExit status: the program's own; 124 time limit, 125 the program died or can never "
            "go on,\n"
            "2 this command line can't be carried out. With --expect 0, or 3 when the verdict is\n"
            "another, or a fault or step never came.\n";
    return text;
}

} // namespace k4sim
