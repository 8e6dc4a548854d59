// k4sim: runs a program on the virtual K/4.
#include "sim/launcher/elf_check.h"
#include "sim/launcher/options.h"
#include "sim/launcher/process.h"
#include "sim/launcher/record.h"
#include "sim/launcher/verdict.h"
#include "sim/models/faults.h"

#include <cstdio>
#include <cstring>
#include <filesystem>

namespace {

using namespace k4sim;

constexpr int status_unusable = 2;
constexpr int status_limit = 124;
constexpr int status_died = 125;

std::string own_folder() {
    return std::filesystem::read_symlink("/proc/self/exe").parent_path().string();
}

int list_faults() {
    for (const Fault& fault : fault_list()) {
        const std::string name =
            std::string(fault.name) +
            (fault.value_syntax.empty() ? "" : "=" + std::string(fault.value_syntax));
        std::printf("%-24s %s\n%-24s verdict: %s\n", name.c_str(),
                    std::string(fault.breaks).c_str(), "", std::string(fault.verdict).c_str());
    }
    return 0;
}

int run(const Options& options) {
    const std::string folder = own_folder();
    const std::string path = find_program(options.program[0], folder);
    const auto size = elf_word_size(path);
    if (!size)
        throw UsageError(options.program[0] +
                         " is no i386 or x86-64 ELF program; name the program file itself");
    const std::string library = find_library(folder, *size);
    Record record(options.record);
    const ProcessEnd end = run_process(path, options.program, library, options.setup, record);
    write_reports(record, judge(record.observation(), end), end);
    if (end.by_signal) {
        std::fprintf(stderr, "k4sim: %s died by signal %d (%s) after %.6f virtual seconds\n",
                     options.program[0].c_str(), end.code, strsignal(end.code),
                     static_cast<double>(record.observation().duration_us) / 1e6);
        return status_died;
    }
    if (record.observation().deadlock) {
        std::fprintf(stderr, "k4sim: %s can never go on: every thread waits for another\n",
                     options.program[0].c_str());
        return status_died;
    }
    if (record.observation().limit) {
        std::fprintf(stderr, "k4sim: time limit of %lld virtual seconds reached\n",
                     static_cast<long long>(options.setup.limit_us / 1'000'000));
        return status_limit;
    }
    return end.code;
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
