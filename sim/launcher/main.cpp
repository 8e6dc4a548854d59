// k4sim: runs a program on the virtual K/4.
#include "sim/launcher/elf_check.h"
#include "sim/launcher/options.h"
#include "sim/launcher/process.h"
#include "sim/launcher/record.h"
#include "sim/launcher/verdict.h"
#include "sim/models/faults.h"

#include <cstdio>
#include <cstring>
#include <exception>
#include <filesystem>

namespace {

using namespace k4sim;

constexpr int status_unusable = 2;
constexpr int status_limit = 124;
constexpr int status_died = 125;

std::string own_folder() {
    return std::filesystem::read_symlink("/proc/self/exe").parent_path().string();
}

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

void list(const Fault& fault) {
    const auto line = [](std::string_view head, std::string_view text) {
        if (!text.empty()) std::puts(pad("    " + std::string(head), 12).append(text).c_str());
    };
    std::string name(fault.name);
    if (!fault.value_syntax.empty()) name.append("=").append(fault.value_syntax);
    std::puts(pad(name, 24).append(fault.breaks).c_str());
    line(fault.value_syntax, fault_range(fault));
    line("boards", fault_boards(fault));
    line(sight_text(fault.sight), fault.verdict);
}

int list_faults() {
    std::puts("Faults for --fault, and what a run of the self-test must make of each: it is seen,\n"
              "escapes the self-test by its nature, or depends on the value.\n");
    for (const Fault& fault : fault_list())
        list(fault);
    return 0;
}

double seconds(Microseconds duration) { return static_cast<double>(duration) / 1e6; }

// Whatever the program's end was, a device must not be left with power on a microphone socket.
void tell_what_is_left_on(const Observation& seen) {
    std::string left;
    for (const std::string& what : seen.unsafe())
        left += (left.empty() ? "" : ", ") + what;
    if (!left.empty())
        std::fprintf(stderr, "k4sim: the device is not left safe: %s on\n", left.c_str());
}

// Tells the user about an end that was not the program's own, and gives the exit status.
int exit_status(const Options& options, const Observation& seen, ProcessEnd end) {
    const char* const name = options.program[0].c_str();
    if (end.bare) {
        std::fprintf(stderr,
                     "k4sim: %s was killed before it began: the virtual device was not "
                     "loaded into it\n",
                     name);
        return status_died;
    }
    if (end.by_signal) {
        std::fprintf(stderr, "k4sim: %s died by signal %d (%s) after %.6f virtual seconds\n", name,
                     end.code, strsignal(end.code), seconds(seen.duration_us));
        return status_died;
    }
    if (seen.deadlock) {
        std::fprintf(stderr, "k4sim: %s can never go on: every thread waits for another\n", name);
        return status_died;
    }
    if (seen.limit) {
        std::fprintf(stderr, "k4sim: the run reached its limit of %g virtual seconds\n",
                     seconds(options.setup.limit_us));
        return status_limit;
    }
    return end.code;
}

// All checks come before the record, so that a run which can't be leaves nothing behind.
int run(const Options& options) {
    const std::string folder = own_folder();
    const std::string path = find_program(options.program[0], folder);
    const std::string library = library_name(folder, check_program(options.program[0], path));
    Record record(options.record);
    const ProcessEnd end =
        run_process({path, options.program, folder, library}, options.setup, record);
    const int status = exit_status(options, record.observation(), end);
    tell_what_is_left_on(record.observation());
    if (!end.devices_guarded)
        std::fputs("k4sim: this kernel has no Landlock: only seccomp kept the program from the "
                   "real machine\n",
                   stderr);
    write_reports(record, judge(record.observation(), end), end);
    record.check_written();
    return status;
}

} // namespace

int main(int argc, char** argv) {
    try {
        const Options options = parse_options({argv + 1, argv + argc});
        if (options.command == Command::faults) return list_faults();
        if (options.command == Command::run) return run(options);
        std::fputs(usage().c_str(), stdout);
        return 0;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "k4sim: %s\n", error.what());
        return status_unusable;
    }
}
