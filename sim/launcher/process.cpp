#include "sim/launcher/process.h"

#include "sim/launcher/options.h"

#include <array>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace k4sim {

namespace {

constexpr int exit_status_no_exec = 127;

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

void set_environment(const std::string& library, const Setup& setup) {
    const char* preloaded = std::getenv("LD_PRELOAD");
    const std::string list =
        preloaded != nullptr && *preloaded != '\0' ? library + ":" + preloaded : library;
    setenv("LD_PRELOAD", list.c_str(), 1);
    setenv("K4SIM_SETUP", encode(setup).c_str(), 1);
}

[[noreturn]] void become_program(const std::string& path, const std::vector<std::string>& arguments,
                                 int report_fd) {
    std::vector<char*> argv;
    for (const std::string& argument : arguments)
        argv.push_back(const_cast<char*>(argument.c_str()));
    argv.push_back(nullptr);
    fcntl(report_fd, F_SETFD, 0);
    execv(path.c_str(), argv.data());
    _exit(exit_status_no_exec);
}

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
                       const std::string& library, Setup setup, Record& record) {
    Pipe report;
    setup.report_fd = report.writing();
    const pid_t child = fork();
    if (child < 0)
        throw UsageError(std::string("no process for the program: ") + std::strerror(errno));
    if (child == 0) {
        set_environment(library, setup);
        become_program(path, arguments, report.writing());
    }
    report.close_writing();
    read_report(report.reading(), record);
    int status = 0;
    while (waitpid(child, &status, 0) < 0 && errno == EINTR) {
    }
    return {WIFSIGNALED(status), WIFSIGNALED(status) ? WTERMSIG(status) : WEXITSTATUS(status)};
}

} // namespace k4sim
