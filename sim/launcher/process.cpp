#include "sim/launcher/process.h"

#include "sim/launcher/options.h"

#include <array>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <spawn.h>
#include <string_view>
#include <sys/wait.h>
#include <unistd.h>
#include <utility>

namespace k4sim {

namespace {

// Where the program's end of the report is: beyond the descriptors that a program gets for
// its own files, so that these have the numbers that they have on a real device.
constexpr int report_descriptor = 100;

// A closed end stands for -1, so that nothing is closed twice.
class Pipe {
public:
    Pipe() {
        if (pipe2(ends_.data(), O_CLOEXEC) != 0)
            throw UsageError(std::string("no pipe to the program: ") + std::strerror(errno));
    }
    ~Pipe() {
        close_end(0);
        close_end(1);
    }
    Pipe(const Pipe&) = delete;
    Pipe& operator=(const Pipe&) = delete;

    int reading() const { return ends_[0]; }
    int writing() const { return ends_[1]; }
    void close_writing() { close_end(1); }

private:
    void close_end(std::size_t end) {
        if (ends_[end] >= 0) close(ends_[end]);
        ends_[end] = -1;
    }
    std::array<int, 2> ends_{-1, -1};
};

// The launcher's own, with the library and the setup put in.
std::vector<std::string> environment_with(const std::string& library, const Setup& setup) {
    const char* preloaded = std::getenv("LD_PRELOAD");
    std::vector<std::string> variables{"K4SIM_SETUP=" + encode(setup), "LD_PRELOAD=" + library};
    if (preloaded != nullptr && *preloaded != '\0') variables[1].append(":").append(preloaded);
    for (char** variable = environ; *variable != nullptr; ++variable) {
        const std::string_view text(*variable);
        if (!text.starts_with("K4SIM_SETUP=") && !text.starts_with("LD_PRELOAD="))
            variables.emplace_back(text);
    }
    return variables;
}

// As the exec functions want it: pointers into `texts`, and a null pointer behind them.
std::vector<char*> pointers_to(const std::vector<std::string>& texts) {
    std::vector<char*> pointers;
    pointers.reserve(texts.size() + 1);
    for (const std::string& text : texts)
        pointers.push_back(const_cast<char*>(text.c_str()));
    pointers.push_back(nullptr);
    return pointers;
}

pid_t start(const std::string& path, const std::vector<std::string>& arguments,
            const std::vector<std::string>& environment, int report_end) {
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, report_end, report_descriptor);
    pid_t child = 0;
    const int error = posix_spawn(&child, path.c_str(), &actions, nullptr,
                                  pointers_to(arguments).data(), pointers_to(environment).data());
    posix_spawn_file_actions_destroy(&actions);
    if (error != 0)
        throw UsageError(path + " can't be started (" + std::strerror(error) +
                         "); try it without k4sim");
    return child;
}

std::atomic<pid_t> running_child{0};
std::atomic<int> early_signal{0}; // came before there was a child
static_assert(std::atomic<int>::is_always_lock_free, "for use in a signal handler");

void hand_on(int number) {
    const pid_t child = running_child;
    if (child == 0)
        early_signal = number;
    else
        kill(child, number);
}

// The terminal tells the program as well.
void leave_to_program(int) {}

// While it lives, signals that would end the launcher reach the program alone. The program
// gets the handling that the launcher had: handlers end at its start, and a signal that is
// ignored stays so.
class SignalsToProgram {
public:
    SignalsToProgram() {
        running_child = 0;
        early_signal = 0;
        for (std::size_t i = 0; i < handlers.size(); ++i) {
            sigaction(handlers[i].first, nullptr, &former_[i]);
            if (former_[i].sa_handler == SIG_IGN) continue;
            struct sigaction action {};
            action.sa_handler = handlers[i].second;
            action.sa_flags = SA_RESTART;
            sigaction(handlers[i].first, &action, nullptr);
        }
    }
    ~SignalsToProgram() {
        for (std::size_t i = 0; i < handlers.size(); ++i)
            sigaction(handlers[i].first, &former_[i], nullptr);
    }
    SignalsToProgram(const SignalsToProgram&) = delete;
    SignalsToProgram& operator=(const SignalsToProgram&) = delete;

    void begin(pid_t child) {
        running_child = child;
        if (const int number = early_signal; number != 0) kill(child, number);
    }

private:
    static constexpr std::array<std::pair<int, void (*)(int)>, 4> handlers{{
        {SIGINT, leave_to_program},
        {SIGQUIT, leave_to_program},
        {SIGTERM, hand_on},
        {SIGHUP, hand_on},
    }};

    std::array<struct sigaction, handlers.size()> former_{};
};

// Until the last writer, the program, is gone.
void read_report(int fd, Record& record) {
    std::string pending;
    std::array<char, 65536> buffer{};
    for (;;) {
        const ssize_t count = read(fd, buffer.data(), buffer.size());
        if (count < 0 && errno == EINTR) continue;
        if (count <= 0) break;
        pending.append(buffer.data(), static_cast<std::size_t>(count));
        std::size_t begin = 0;
        for (std::size_t end = 0; (end = pending.find('\n', begin)) != std::string::npos;
             begin = end + 1)
            record.line(pending.substr(begin, end - begin));
        pending.erase(0, begin);
    }
}

} // namespace

ProcessEnd run_process(const std::string& path, const std::vector<std::string>& arguments,
                       const std::string& library, const Setup& setup, Record& record) {
    Pipe report;
    Setup childs_setup = setup;
    childs_setup.report_fd = report_descriptor;
    SignalsToProgram signals;
    const pid_t child =
        start(path, arguments, environment_with(library, childs_setup), report.writing());
    signals.begin(child);
    report.close_writing();
    read_report(report.reading(), record);
    int status = 0;
    while (waitpid(child, &status, 0) < 0 && errno == EINTR) {
    }
    return {WIFSIGNALED(status), WIFSIGNALED(status) ? WTERMSIG(status) : WEXITSTATUS(status)};
}

} // namespace k4sim
