#include "sim/host/inheritance.h"

#include "sim/machine/report.h"
#include "sim/programs/environment.h"
#include "sim/programs/program_file.h"
#include "sim/setup_process.h"

#include <cerrno>
#include <csignal>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace k4sim {

namespace {

constexpr int scripts_max = 4; // one may be the interpreter of another, as in the kernel

struct Run {
    bool joined = false;
    pid_t first = 0; // this process, if it is the launcher's child
};

Run& run() {
    static Run* const only = new Run;
    return *only;
}

void die_with_parent() { prctl(PR_SET_PDEATHSIG, SIGKILL); }

// The program that is loaded in the end.
std::string program_of(std::string path) {
    for (int i = 0; i < scripts_max; ++i) {
        std::string interpreter = interpreter_of(path);
        if (interpreter.empty()) break;
        path = std::move(interpreter);
    }
    return path;
}

// A search for a plain name may come to the same file by several paths.
void tell_once(const std::string& program, const std::string& obstacle) {
    static std::pair<pid_t, ino_t> told{};
    struct stat status {};
    const bool found = stat(program.c_str(), &status) == 0;
    const std::pair<pid_t, ino_t> now{getpid(), found ? status.st_ino : 0};
    if (now != told) write_fully(STDERR_FILENO, "k4sim: " + program + " " + obstacle + "\n");
    told = now;
}

} // namespace

void join_run(std::string_view role) {
    run().joined = true;
    if (role != role_further) run().first = getpid();
    die_with_parent();
}

void inherit_run() {
    if (in_run()) die_with_parent();
}

bool in_run() { return run().joined; }

bool belongs_to_run(int descriptor) {
    return in_run() && descriptor >= first_descriptor && descriptor <= last_descriptor;
}

bool can_execute(const std::string& path) {
    const std::string program = program_of(path);
    // What the system itself can't execute it may say so of.
    if (access(program.c_str(), X_OK) != 0 || !is_elf(program)) return true;
    std::string obstacle = obstacle_to_device(program);
    if (obstacle.empty() && device_library(library_folder, *elf_word_size(program)).empty())
        obstacle = "finds no library of its word size beside k4sim";
    if (obstacle.empty()) return true;
    tell_once(program, obstacle);
    errno = EPERM;
    return false;
}

std::vector<std::string> environment_for(const std::string& path, char* const* variables) {
    const auto size = elf_word_size(program_of(path));
    const std::string library = device_library(library_folder, size.value_or(WordSize::bits32));
    const char* const role = run().first == getpid() ? role_first : role_further;
    return environment_with(library, role, variables);
}

} // namespace k4sim
