#include "sim/launcher/command_line.h"

#include "sim/campaign/coverage.h"
#include "sim/launcher/closing.h"
#include "sim/launcher/completion.h"
#include "sim/launcher/diagnose.h"
#include "sim/launcher/elf_check.h"
#include "sim/launcher/help.h"
#include "sim/launcher/listing.h"
#include "sim/launcher/manual.h"
#include "sim/launcher/options.h"
#include "sim/launcher/panel.h"
#include "sim/launcher/process.h"
#include "sim/launcher/progress.h"
#include "sim/launcher/real_parts.h"
#include "sim/launcher/record.h"
#include "sim/launcher/retelling.h"
#include "sim/launcher/verdict.h"
#include "sim/launcher/version.h"
#include "sim/launcher/wire_file.h"
#include "sim/setup_choices.h"
#include "sim/story/differences.h"

#include <chrono>
#include <cstdio>
#include <exception>
#include <filesystem>

namespace k4sim {

namespace {

constexpr int status_differs = 1;
constexpr int status_unusable = 2;
constexpr int status_unexpected = 3;
constexpr int status_stopped = 123;
constexpr int status_limit = 124;
constexpr int status_died = 125;

std::string own_folder() {
    return std::filesystem::read_symlink("/proc/self/exe").parent_path().string();
}

int print(const std::string& text) {
    std::fputs(text.c_str(), stdout);
    return 0;
}

int diagnose(const Options& options) {
    const Answer answer = answer_to(options);
    print(answer.text);
    return answer.known ? 0 : status_differs;
}

int list_faults(const Options& options) {
    if (options.all)
        return print(options.json ? universe_as_json(options.board, options.pattern)
                                  : universe_as_text(options.board, options.pattern));
    const std::vector<const Fault*> faults = matching_faults(options.pattern);
    return print(options.json ? faults_as_json(faults) : faults_as_text(faults));
}

// The device library that fits the program.
std::string library_for(const std::string& folder, const std::string& name,
                        const std::string& path) {
    return library_name(folder, check_program(name, path));
}

// A command that makes many runs of the program.
template <class Plan>
int run_many(int (*command)(const Plan&, const std::string&, const std::string&),
             const Plan& plan) {
    const std::string folder = own_folder();
    const std::string& name = plan.runs.program[0];
    const std::string path = find_program(name, folder);
    return command(plan, path, folder + "/" + library_for(folder, name, path));
}

int coverage(const Options& options) {
    const std::vector<std::string>& folders = options.files;
    const std::string& out = options.coverage_out;
    if (!options.coverage_against.empty())
        return compare_coverage(folders, options.coverage_against);
    const std::string& judged = options.coverage_judged;
    return write_coverage(folders, out.empty() ? folders[0] : out,
                          judged.empty() ? "" : way_back(judged));
}

int describe(const std::vector<std::string>& words) {
    const std::string text = manual_part(words[0], words[1]);
    if (text.empty()) throw UsageError("nothing is told of " + words[1] + " as " + words[0]);
    return print(text);
}

int differ(const Options& options) {
    const Differences found = differences_of(options.files[0], options.files[1], options.tolerance);
    print(found.text);
    return found.any ? status_differs : 0;
}

// Real time.
class Stopwatch {
public:
    double seconds() const { return std::chrono::duration<double>(Clock::now() - start_).count(); }

private:
    using Clock = std::chrono::steady_clock;
    Clock::time_point start_ = Clock::now();
};

// Of a run without --expect.
int own_status(const Observation& seen, ProcessEnd end) {
    if (end.by_signal || !seen.hopeless.empty()) return status_died;
    if (seen.stopped) return status_stopped;
    return seen.limit ? status_limit : end.code;
}

// The line of its progress is gone before another is written.
ProcessEnd run_shown(const Program& program, const Setup& setup, bool quiet, Record& record,
                     RunWatcher* watcher) {
    Progress progress(!quiet && watcher == nullptr, setup.pace);
    return run_process(program, setup, record, progress, watcher);
}

// All checks come before the record, so that a run which can't be leaves nothing behind.
int run(const Options& options, RunWatcher* watcher = nullptr) {
    const std::string folder = own_folder();
    const std::string path = find_program(options.program[0], folder);
    const std::string library = library_for(folder, options.program[0], path);
    Setup setup = options.setup;
    check_real(setup);
    const WireFile wires(options.vcd, setup.board);
    setup.wires_fd = wires.descriptor();
    Record record(options.record, options.demands);
    if (options.wave) setup.wave_fd = record.keep_sound();
    if (real_part(setup, Role::ports) != nullptr)
        std::fputs("k4sim: the ports of this machine are used\n", stderr);
    const Stopwatch stopwatch;
    const ProcessEnd end =
        run_shown({path, options.program, folder, library}, setup, options.quiet, record, watcher);
    const Observation& seen = record.observation();
    Outcome outcome{options.program[0],
                    judge(seen, end),
                    end,
                    never_struck(options.setup, seen),
                    stopwatch.seconds(),
                    record.demands(),
                    ledger_of(record.story())};
    outcome.why = why(outcome, seen, setup);
    outcome.board = name_of(boards, setup.board);
    record.tidy_events();
    record.write_beeps();
    write_reports(record, outcome);
    record.finish();
    const std::string gap = options.record.empty() ? "" : record.gap();
    const bool met = as_expected(outcome, options.expected, gap);
    const std::string line =
        closing_line(outcome, seen, options.record, gap) + (met ? "" : "; not as expected");
    if (!options.quiet) {
        for (const std::string& demand : failed_demands(outcome))
            std::fprintf(stderr, "k4sim: %s\n", demand.c_str());
        std::fprintf(stderr, "k4sim: %s\n", line.c_str());
    }
    const int own = options.expected.empty() ? own_status(seen, end) : 0;
    const int status = met ? own : status_unexpected;
    if (watcher != nullptr) watcher->ended(line, status, end.asked_to_end);
    return status;
}

} // namespace

int carry_out(int argc, char** argv) {
    try {
        const Options options = parse_options({argv + 1, argv + argc});
        switch (options.command) {
        case Command::run:
            return run(options);
        case Command::panel:
            return serve_panel(options, run);
        case Command::check:
            return print(scenario_as_text(options));
        case Command::report:
            return print(write_page(options.files[0]) + "\n");
        case Command::diff:
            return differ(options);
        case Command::diagnose:
            return diagnose(options);
        case Command::faults:
            return list_faults(options);
        case Command::campaign:
            return run_many(run_campaign, options.campaign);
        case Command::coverage:
            return coverage(options);
        case Command::soak:
            return run_many(run_soak, options.soak);
        case Command::keys:
            return print(keys_as_text());
        case Command::complete:
            return print(completions(options.words));
        case Command::describe:
            return describe(options.words);
        case Command::version:
            return print(version_line);
        case Command::help:
            break;
        }
        return print(help(options.topic));
    } catch (const std::exception& error) {
        std::fprintf(stderr, "k4sim: %s\n", error.what());
        return status_unusable;
    }
}

} // namespace k4sim
