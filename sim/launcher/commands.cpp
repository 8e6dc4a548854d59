#include "sim/launcher/commands.h"

#include "sim/campaign/single_faults.h"
#include "sim/formats/short_number.h"
#include "sim/launcher/option_values.h"
#include "sim/launcher/real_parts.h"
#include "sim/launcher/scenario.h"
#include "sim/models/faults.h"
#include "sim/models/nearest.h"
#include "sim/models/surroundings.h"
#include "sim/setup_choices.h"
#include "sim/story/sources.h"

#include <algorithm>
#include <cstring>
#include <iterator>

namespace k4sim {

namespace {

std::string bars(const std::vector<std::string_view>& names) {
    std::string text;
    for (const std::string_view name : names)
        text.append(text.empty() ? "" : "|").append(name);
    return text;
}

// What a scenario file says comes before what they set.
const std::vector<Option>& run_options() {
    static const std::vector<Option> options = {
        {"--board", bars(names_of(boards)), "mainboard generation (aes)",
         [](Options& o, auto& value) { o.setup.board = choice_of("board", value, boards); }},
        {"--operator", bars(names_of(operators)), "who stands at the panel (auto)",
         [](Options& o, auto& value) {
             o.setup.operator_kind = choice_of("operator", value, operators);
         },
         "`auto` does everything right, `human` is slow and slips now and then, `none` is nobody"},
        {"--scenario", "FILE.toml|-", "settings, steps and demands from a file (-: standard input)",
         [](Options&, auto&) {}, "the steps are keys, knobs, cables, faults, and when"},
        {"--fault", "NAME[=VALUE][@SECONDS]", "a fault, from the start or from a second on",
         [](Options& o, auto& value) { add_fault(o.setup, value); },
         "`k4sim faults [PATTERN]` lists the common ones, with `--all` every single one"},
        {"--seed", "N", "the same seed gives the same run (1)",
         [](Options& o, auto& value) { o.setup.seed = seed_of(value); }, "to the byte"},
        {"--schedule", bars(names_of(schedules)),
         "which thread goes on: in turn, or as the seed has it (fair)",
         [](Options& o, auto& value) {
             o.setup.schedule = choice_of("schedule", value, schedules);
         },
         "`random` changes at each call, to find what depends on their order"},
        {"--pace", "FACTOR|max", "1 is real time (max)",
         [](Options& o, auto& value) { set_pace(o.setup, value); }, "`max` is as fast as it can"},
        {"--real", "all|ROLE[,ROLE]|ROLE=NAME[,NAME]",
         "this machine's part: serial, network, sound, speaker, ports",
         [](Options& o, auto& value) { add_real(o.setup, value); }},
        {"--limit", "SECONDS", "virtual end of the run, status 124 (3600)",
         [](Options& o, auto& value) { o.setup.limit_us = some_time("--limit", value); },
         "so does a program end that makes calls without end"},
        {"--linger", "SECONDS", "the same, counted from when the operator left (never)",
         [](Options& o, auto& value) { o.setup.linger_us = some_time("--linger", value); },
         "for a run that Esc twice did not end"},
        {"--stall", "SECONDS", "real time without virtual time: the end, status 125 (20)",
         [](Options& o, auto& value) { o.setup.stall_us = some_time("--stall", value); }},
        {"--record", "DIR", "keep events, pictures, console and report there", set_record},
        {"--wave", "", "keep what is played, recorded and beeped as WAV files there, too",
         [](Options& o, auto&) { o.wave = true; },
         "in its folder `wave/`, some 0.8 MB a second; goes with `--record`"},
        {"--stop-at", "SECONDS|console:TEXT|screen:TEXT", "the run ends there, status 123",
         set_stop, "its record is complete, its verdict UNDECIDED"},
        {"--gdb", "", "it stands still there instead, for a debugger",
         [](Options& o, auto&) { o.setup.gdb = true; },
         "in virtual time too, and a line tells how to attach gdb; goes with `--stop-at`"},
        {"--vcd", "FILE", "the wires as a Value Change Dump, for a viewer of signals", set_vcd,
         "GTKWave, PulseView and sigrok-cli show it: I2C, panel port, parallel port, serial lines, "
         "links, keys, knobs, phantom power, boost, AES lock, speaker"},
        {"--expect", "VERDICT[,VERDICT]", "status 0 for one of these, 3 for any other run",
         set_expected},
        {"--quiet", "", "no closing line, no line of progress",
         [](Options& o, auto&) { o.quiet = true; }},
    };
    return options;
}

const std::vector<Option>& panel_options() {
    static const std::vector<Option> options = {
        {"--port", "N", "serve there, or at the first free port after it (8470)", set_port},
        {"--listen", "ADDRESS", "for others than this machine: the address of it (127.0.0.1)",
         [](Options& o, auto& value) { o.listen = value; }},
    };
    return options;
}

// Of commands that make many runs.
const std::vector<Option>& runs_options() {
    static const std::vector<Option> options = {
        {"--out", "DIR", "where the results are kept, and gone on with",
         [](Options& o, auto& value) { o.campaign.runs.out = value; }},
        {"--jobs", "N", "runs at a time (one a processor)",
         [](Options& o, auto& value) { set_jobs(o.campaign.runs, value); }},
        {"--limit", "SECONDS", "virtual end of a run that nobody ends (600)",
         [](Options& o, auto& value) { o.campaign.runs.limit_us = some_time("--limit", value); }},
    };
    return options;
}

const std::vector<Option>& campaign_options() {
    static const std::vector<Option> options = {
        {"--faults", "PATTERN", "those with this in their name, or that match it (all)",
         [](Options& o, auto& value) { o.campaign.pattern = value; }},
        {"--boards", "BOARD[,BOARD]", "on these mainboards (all that have a panel)",
         [](Options& o, auto& value) { o.campaign.boards = boards_of(value); }},
        {"--expected", bars(class_words()), "only faults that must have this class (all)",
         [](Options& o, auto& value) { o.campaign.expected = class_named(value); }},
        {"--seed", "N", "of every run (1)",
         [](Options& o, auto& value) { o.campaign.runs.seed = seed_of(value); }},
        {"--shard", "I/N", "the I-th of N parts only, each for a machine of its own",
         [](Options& o, auto& value) { set_shard(o.campaign.shard, value); }},
    };
    return options;
}

const std::vector<Option>& soak_options() {
    static const std::vector<Option> options = {
        {"--seeds", "A..B", "of the runs, the first and the last (1..1)",
         [](Options& o, auto& value) { set_seeds(o.soak, value); }},
    };
    return options;
}

const std::vector<Option>& coverage_options() {
    static const std::vector<Option> options = {
        {"--out", "DIR", "where coverage.md, .html and .json go (the first DIR)",
         [](Options& o, auto& value) { o.coverage_out = value; }},
        {"--judged", "DIR", "with the share that diagnose finds of these, of another seed",
         [](Options& o, auto& value) { o.coverage_judged = value; }},
        {"--against", "FILE", "write nothing: tell what an earlier coverage.json tells otherwise",
         [](Options& o, auto& value) { o.coverage_against = value; }},
    };
    return options;
}

const std::vector<Option>& faults_options() {
    static const std::vector<Option> options = {
        {"--all", "", "every single fault of each board, and what a run makes of it",
         [](Options& o, auto&) { o.all = true; }},
        {"--board", bars(names_of(boards)), "those of this board, with --all",
         [](Options& o, auto& value) { o.board = choice_of("board", value, boards); }},
        {"--json", "", "for programs", [](Options& o, auto&) { o.json = true; }},
    };
    return options;
}

const std::vector<Option>& diagnose_options() {
    static const std::vector<Option> options = {
        {"--board", bars(names_of(boards)), "mainboard generation, where it is known",
         [](Options& o, auto& value) {
             o.inquiry.board = name_of(boards, choice_of("board", value, boards));
         }},
        {"--record", "DIR", "what a run of k4sim has recorded", set_record},
        {"--json", "", "for programs", [](Options& o, auto&) { o.json = true; }},
        {"--learn", "DIR", "prints what the results of a campaign teach",
         [](Options& o, auto& value) { o.inquiry.learn = value; }},
        {"--judge", "DIR", "how many faults of a campaign are found; status 1 below 95 %",
         [](Options& o, auto& value) { o.inquiry.judge = value; }},
    };
    return options;
}

const std::vector<Option>& diff_options() {
    static const std::vector<Option> options = {
        {"--tolerance", "LIMIT[,LIMIT]",
         "tell only what differs by more, such as 0.5dB,2s,10%,1 (1: what is counted)",
         [](Options& o, auto& value) { set_tolerance(o, value); }},
    };
    return options;
}

// The value that was said last; null: none was.
const std::string* last_said(const std::vector<Said>& said, std::string_view name) {
    const auto found = std::find_if(said.rbegin(), said.rend(),
                                    [&](const Said& one) { return one.option->name == name; });
    return found == said.rend() ? nullptr : &found->value;
}

// What is real does not wait. At real ports there is a real panel, and whoever stands at that.
void keep_to_real_time(Setup& setup, const std::vector<Said>& said) {
    if (setup.pace.value_or(1) != 1)
        throw UsageError("--real goes with --pace 1 only: what is real does not wait");
    setup.pace = 1;
    if (real_part(setup, Role::ports) == nullptr) return;
    if (last_said(said, "--operator") == nullptr) setup.operator_kind = OperatorKind::none;
    if (setup.operator_kind != OperatorKind::none)
        throw UsageError("--real ports goes with --operator none: the panel is a real one");
}

// The file first, so that the command line goes before it.
void settle(Options& options, const std::vector<Said>& said) {
    std::optional<Board> board;
    if (const std::string* name = last_said(said, "--board"))
        board = choice_of("board", *name, boards);
    if (const std::string* file = last_said(said, "--scenario"))
        read_scenario(*file, options, board);
    for (const auto& [option, value] : said)
        option->set(options, value);
    if (!options.setup.real.empty()) keep_to_real_time(options.setup, said);
    for (const FaultSetting& fault : options.setup.faults) {
        const std::string error = fault_error(options.setup.board, fault.name, fault.value);
        if (!error.empty()) throw UsageError("--fault: " + error);
    }
    if (options.setup.gdb && !options.setup.stop)
        throw UsageError("--gdb goes with --stop-at, which tells where");
    if (options.wave && options.record.empty())
        throw UsageError("--wave goes with --record, whose folder keeps the sound");
}

void take_program(Options& options, const std::vector<Said>& said,
                  const std::vector<std::string>& program) {
    if (program.empty())
        throw UsageError("no PROGRAM to run; say for example: k4sim run -- k4selftest run");
    options.program = program;
    settle(options, said);
    if (program.size() == 1)
        std::ranges::copy(options.arguments, std::back_inserter(options.program));
}

// Without either, an automatic operator.
void take_run(Options& options, const std::vector<Said>& said,
              const std::vector<std::string>& program) {
    options.setup.operator_kind = OperatorKind::automatic;
    take_program(options, said, program);
}

// In real time, for a day, and with nobody at the panel but who is in the browser.
void take_panel(Options& options, const std::vector<Said>& said,
                const std::vector<std::string>& program) {
    options.setup.pace = 1;
    options.setup.limit_us = Microseconds{24} * 3600 * us_per_second;
    take_program(options, said, program);
}

void take_campaign(Options& options, const std::vector<Said>& said,
                   const std::vector<std::string>& program) {
    options.campaign.boards = boards_of("");
    for (const auto& [option, value] : said)
        option->set(options, value);
    options.campaign.runs.program = program;
    if (options.campaign.runs.out.empty())
        throw UsageError("no folder for the results; say for example --out build/campaign");
}

void take_soak(Options& options, const std::vector<Said>& said,
               const std::vector<std::string>& program) {
    take_campaign(options, said, program);
    options.soak.runs = options.campaign.runs;
}

void take_check(Options& options, const std::vector<Said>&,
                const std::vector<std::string>& operands) {
    options.scenario = operands[0];
    options.setup.operator_kind = OperatorKind::automatic;
    read_scenario(options.scenario, options);
}

void take_files(Options& options, const std::vector<Said>& said,
                const std::vector<std::string>& operands) {
    for (const auto& [option, value] : said)
        option->set(options, value);
    options.files = operands;
}

// ROW=TEXT, the row by a part of its name that no other row has.
std::pair<std::string, std::string> row_of(const std::string& operand, std::size_t equals) {
    const std::string name = operand.substr(0, equals);
    const std::vector<std::string_view> labels(std::begin(row_names), std::end(row_names));
    const auto is_meant = [&](const char* label) {
        return strcasestr(label, name.c_str()) != nullptr;
    };
    if (name.empty() || std::ranges::count_if(row_names, is_meant) != 1)
        throw UsageError(no_such("row", name, labels));
    return {*std::ranges::find_if(row_names, is_meant), operand.substr(equals + 1)};
}

// Of the ways to say what was seen, one.
void take_diagnose(Options& options, const std::vector<Said>& said,
                   const std::vector<std::string>& operands) {
    for (const auto& [option, value] : said)
        option->set(options, value);
    Inquiry& inquiry = options.inquiry;
    for (const std::string& operand : operands)
        if (const std::size_t equals = operand.find('='); equals == std::string::npos)
            options.files.push_back(operand);
        else
            inquiry.rows.push_back(row_of(operand, equals));
    const std::size_t ways = (options.record.empty() ? 0 : 1) + options.files.size() +
                             (inquiry.rows.empty() ? 0 : 1) + (inquiry.learn.empty() ? 0 : 1) +
                             (inquiry.judge.empty() ? 0 : 1);
    if (ways != 1)
        throw UsageError("say what was seen in one way: a record, the file of a console, or rows "
                         "such as \"USB Ports=Missing USBs: 1\"");
}

void take_faults(Options& options, const std::vector<Said>& said,
                 const std::vector<std::string>& operands) {
    for (const auto& [option, value] : said)
        option->set(options, value);
    if (!operands.empty()) options.pattern = operands[0];
    if (options.board && !options.all)
        throw UsageError("--board goes with --all, which tells the boards apart");
}

void take_nothing(Options&, const std::vector<Said>&, const std::vector<std::string>&) {}

void take_words(Options& options, const std::vector<Said>&,
                const std::vector<std::string>& operands) {
    options.words = operands;
}

void take_help(Options& options, const std::vector<Said>&,
               const std::vector<std::string>& operands) {
    if (operands.empty()) return;
    if (find_command(operands[0]) == nullptr)
        throw UsageError(no_such("command", operands[0], command_names()));
    options.topic = operands[0];
}

constexpr std::string_view run_notes =
    "Exit status: the program's own; 124 time limit, 125 the program died or can never go on,\n"
    "2 this command line can't be carried out. With --expect 0, or 3 when the verdict is\n"
    "another, or a fault or step never came. 3 when a demand of the scenario failed.\n";

constexpr std::string_view campaign_notes =
    "Goes on where it was broken off. Exit status: 0; 1 when a fault came to another class than\n"
    "the expected one; 2 this can't be carried out; 130 broken off. DIR/results.jsonl has a line\n"
    "for each run; docs/campaign.md tells what stands there, and how to use many machines.\n";

constexpr std::string_view diagnose_notes =
    "Three candidates at most, the best first, each with all faults that look the same, and the\n"
    "step that tells them apart. One fault at a time is thought of. Exit status: 1 for an unknown\n"
    "symptom, else 0.\n";

// Number of operands.
constexpr std::size_t any = std::string::npos;

const std::vector<CommandForm>& commands() {
    using Reading = CommandForm::Reading;
    static const std::vector<CommandForm> forms = {
        {Command::run,
         "run",
         "[--] PROGRAM [ARGUMENT]...",
         "runs the program on a virtual K/4",
         {&run_options()},
         {{"run -- k4selftest run", "a whole run, the operator at the panel"},
          {"run --board plain --pace 1 -- k4selftest run", "another mainboard, in real time"},
          {"run --fault key-dead=5 --record r -- k4selftest run",
           "key 5 is dead; what happened is kept in r/"},
          {"run --fault analog-gain=-6@30 --expect aborted -- k4selftest run",
           "the loop is 6 dB low from second 30 on, and that must be seen"},
          {"run --scenario scenarios/usb-adapter-missing.toml -- k4selftest",
           "a case from a file: an adapter that is plugged in late"}},
         0,
         any,
         take_run,
         Reading::program,
         run_notes},
        {Command::panel,
         "panel",
         "[--] PROGRAM [ARGUMENT]...",
         "runs it, and serves the device in the browser",
         {&panel_options(), &run_options()},
         {{"panel -- k4selftest run", "open the address that it prints"},
          {"panel --operator auto --pace 5 -- k4selftest run", "look on while it is operated"}},
         0,
         any,
         take_panel,
         Reading::program,
         "Here --pace is 1, --operator none and --limit a day unless told.\n"},
        {Command::check,
         "check",
         "FILE.toml|-",
         "reads a scenario without a run",
         {},
         {{"check scenarios/usb-adapter-missing.toml",
           "what stands in it, or what is wrong and where"}},
         1,
         1,
         take_check},
        {Command::report,
         "report",
         "DIR|FILE",
         "writes the page of a record, or of a saved console",
         {},
         {{"report build/run", "build/run/report.html anew, also of an older record"},
          {"report tty.log", "tty.log.html, from what \"k4selftest run | tee tty.log\" kept"}},
         1,
         1,
         take_files},
        {Command::diff,
         "diff",
         "DIR DIR",
         "tells where two runs part, with status 1 when they do",
         {&diff_options()},
         {{"diff build/one build/two", "the first different event, rows and margins"},
          {"diff --tolerance 0.5dB,2s real virtual", "a run with real parts, and one without"}},
         2,
         2,
         take_files},
        {Command::diagnose,
         "diagnose",
         "[FILE|ROW=TEXT]...",
         "tells what may be broken, and the next step to find out",
         {&diagnose_options()},
         {{"diagnose 'USB Ports=Missing USBs: 1'", "from what stands on a row of the OLED"},
          {"diagnose --board aes audio='Loop gain -6.0 0.1 (2)' aes=OK",
           "from two rows, of a board that is known"},
          {"diagnose --record build/run", "from the record of a run: the best that is known"},
          {"diagnose tty.log", "from what \"k4selftest run | tee tty.log\" kept"}},
         0,
         any,
         take_diagnose,
         Reading::options,
         diagnose_notes},
        {Command::faults,
         "faults",
         "[PATTERN]",
         "lists what can be broken",
         {&faults_options()},
         {{"faults", "all faults, and what comes of each"},
          {"faults key", "those with \"key\" in their name"},
          {"faults --json 'serial-*'", "those that match, for a program"},
          {"faults --all --board i2c panel", "each way to break each part of its panel"}},
         0,
         1,
         take_faults},
        {Command::campaign,
         "campaign",
         "[--] PROGRAM [ARGUMENT]...",
         "runs every single fault once, and tells what the program finds",
         {&runs_options(), &campaign_options()},
         {{"campaign --out build/campaign -- k4selftest run", "all of them, on every board"},
          {"campaign --boards i2c --faults 'key-*' --out keys -- k4selftest run", "some of them"},
          {"campaign --shard 3/8 --out part3 -- k4selftest run",
           "the third of eight parts; the other ones elsewhere"}},
         1,
         any,
         take_campaign,
         Reading::program,
         campaign_notes},
        {Command::coverage,
         "coverage",
         "DIR...",
         "tells what campaigns found: how much, when, and what escapes",
         {&coverage_options()},
         {{"coverage build/campaign", "build/campaign/coverage.html and others"},
          {"coverage --out all part1 part2 part3", "of a campaign in parts"},
          {"coverage --against docs/coverage.json part1", "status 1 when it is not as it was"}},
         1,
         any,
         take_files},
        {Command::soak,
         "soak",
         "[--] PROGRAM [ARGUMENT]...",
         "runs random boards, operators and faults, and tells what must not be",
         {&runs_options(), &soak_options()},
         {{"soak --seeds 1..1000 --out build/soak -- k4selftest run",
           "up to three faults at a time, at random times"}},
         1,
         any,
         take_soak,
         Reading::program},
        {Command::keys,
         "keys",
         "",
         "lists the keys and knobs",
         {},
         {{"keys", "each with its code, its letter, and what a scenario does for it"}},
         0,
         0,
         take_nothing},
        {Command::help,
         "help",
         "[COMMAND]",
         "tells about a command",
         {},
         {{"help run", "the same as k4sim run --help"}},
         0,
         1,
         take_help},
        {Command::complete, "complete", "", "", {}, {}, 1, any, take_words, Reading::words},
        {Command::describe, "describe", "", "", {}, {}, 2, 2, take_words, Reading::words},
    };
    return forms;
}

} // namespace

std::span<const CommandForm> command_table() { return commands(); }

const CommandForm* find_command(std::string_view name) {
    const auto found = std::ranges::find(commands(), name, &CommandForm::name);
    return found == commands().end() ? nullptr : &*found;
}

const Option* find_option(const CommandForm& form, std::string_view name) {
    for (const std::vector<Option>* const options : form.options)
        for (const Option& option : *options)
            if (option.name == name) return &option;
    return nullptr;
}

std::vector<std::string_view> command_names() {
    std::vector<std::string_view> names;
    for (const CommandForm& form : commands())
        if (!form.what.empty()) names.push_back(form.name);
    return names;
}

std::vector<std::string_view> option_names(const CommandForm& form) {
    std::vector<std::string_view> names;
    for (const std::vector<Option>* const options : form.options)
        std::ranges::transform(*options, std::back_inserter(names), &Option::name);
    return names;
}

std::string form_text(const CommandForm& form) {
    std::string text = "k4sim " + std::string(form.name);
    if (!form.options.empty()) text += " [OPTION]...";
    return form.operands.empty() ? text : text.append(" ").append(form.operands);
}

} // namespace k4sim
