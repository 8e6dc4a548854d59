#include "sim/launcher/process.h"

#include "sim/formats/write_all.h"
#include "sim/launcher/guard.h"
#include "sim/launcher/handshake.h"
#include "sim/launcher/options.h"
#include "sim/launcher/signals.h"
#include "sim/programs/environment.h"
#include "sim/setup_process.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <poll.h>
#include <string_view>
#include <sys/eventfd.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace k4sim {

namespace {

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

// Tells the launcher what could not be done, and ends the child.
[[noreturn]] void fail(int complaints, const std::string& what) {
    const std::string text = what + " (" + std::strerror(errno) + ")";
    const ssize_t written = write(complaints, text.data(), text.size());
    _exit(written < 0 ? 1 : 0);
}

struct Ends {
    int report;
    int folder;
    int claim;
    int setup;
    int complaints;
    int wires;   // -1: none
    int wave;    // -1: none
    int control; // -1: nobody looks on
};

// In the child. What is set here stays through every execution.
[[noreturn]] void become(const Program& program, const std::vector<char*>& arguments,
                         const std::vector<char*>& environment, const Ends& ends,
                         const Guard& guard, pid_t launcher) {
    if (dup2(ends.report, report_descriptor) < 0 ||
        dup2(ends.folder, library_folder_descriptor) < 0 ||
        dup2(ends.claim, claim_descriptor) < 0 || dup2(ends.setup, setup_descriptor) < 0 ||
        (ends.wires >= 0 && dup2(ends.wires, wires_descriptor) < 0) ||
        (ends.wave >= 0 && dup2(ends.wave, wave_descriptor) < 0))
        fail(ends.complaints, "no descriptors for the virtual device");
    if (ends.control >= 0 && dup2(ends.control, control_descriptor) < 0)
        fail(ends.complaints, "no descriptor for the panel");
    if (prctl(PR_SET_PDEATHSIG, SIGKILL) != 0) fail(ends.complaints, "it would outlive k4sim");
    if (getppid() != launcher) _exit(1); // which was gone before
    if (prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) != 0)
        fail(ends.complaints, "the system can't keep new rights from it");
    if (!guard.enter()) fail(ends.complaints, "the real device can't be kept from it");
    if (!ask_to_be_watched()) fail(ends.complaints, "its start can't be watched");
    execve(program.path.c_str(), arguments.data(), environment.data());
    fail(ends.complaints, "try it without k4sim");
}

pid_t start(const Program& program, const RunSignals& signals, const Guard& guard,
            const Ends& ends) {
    const std::vector<std::string> variables =
        environment_with(program.library, role_watched, environ);
    const std::vector<char*> environment = pointers_to(variables);
    const std::vector<char*> arguments = pointers_to(program.arguments);
    const pid_t launcher = getpid();
    const pid_t child = fork();
    if (child < 0) throw UsageError(std::string("no process: ") + std::strerror(errno));
    if (child == 0) {
        signals.release_in_child();
        become(program, arguments, environment, ends, guard, launcher);
    }
    return child;
}

// Calls `take` with what comes until the last writer is gone.
template <class Take>
void read_to_end(int fd, Take take) {
    std::array<char, 65536> buffer{};
    for (;;) {
        const ssize_t count = read(fd, buffer.data(), buffer.size());
        if (count < 0 && errno == EINTR) continue;
        if (count <= 0) break;
        take(std::string_view(buffer.data(), static_cast<std::size_t>(count)));
    }
}

// Also when nothing comes for long.
void show_while_waiting(int fd, const Record& record, Progress& progress) {
    pollfd waiting{fd, POLLIN, 0};
    do
        progress.look(record.observation());
    while (poll(&waiting, 1, progress.patience_ms()) == 0);
}

void read_report(int fd, Record& record, Progress& progress, RunWatcher* watcher) {
    std::string pending;
    show_while_waiting(fd, record, progress);
    read_to_end(fd, [&](std::string_view bytes) {
        pending.append(bytes);
        std::size_t begin = 0;
        for (std::size_t end = 0; (end = pending.find('\n', begin)) != std::string::npos;
             begin = end + 1) {
            const std::string line = pending.substr(begin, end - begin);
            if (watcher == nullptr || !watcher->takes(line)) record.line(line);
        }
        pending.erase(0, begin);
        show_while_waiting(fd, record, progress);
    });
}

void throw_complaint(const Program& program, int complaints) {
    std::string text;
    read_to_end(complaints, [&](std::string_view bytes) { text.append(bytes); });
    if (!text.empty()) throw UsageError(program.path + " can't be started: " + text);
}

// A descriptor of the launcher's, or why there is none.
class Descriptor {
public:
    Descriptor(int number, const std::string& what) : number_(number) {
        if (number < 0) throw UsageError(what + " can't be opened: " + std::strerror(errno));
    }
    ~Descriptor() { close(number_); }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;

    int number() const { return number_; }

private:
    int number_;
};

// From then on it is the same for every process of the run.
void fill_and_seal(int file, const std::string& text) {
    constexpr int seals = F_SEAL_WRITE | F_SEAL_GROW | F_SEAL_SHRINK | F_SEAL_SEAL;
    if (!write_all(file, text) || fcntl(file, F_ADD_SEALS, seals) != 0)
        throw UsageError(std::string("the setup can't be handed on: ") + std::strerror(errno));
}

} // namespace

ProcessEnd run_process(const Program& program, const Setup& setup, Record& record,
                       Progress& progress, RunWatcher* watcher) {
    Pipe report;
    Pipe complaints;
    Setup childs_setup = setup;
    childs_setup.report_fd = report_descriptor;
    if (setup.wires_fd >= 0) childs_setup.wires_fd = wires_descriptor;
    if (setup.wave_fd >= 0) childs_setup.wave_fd = wave_descriptor;
    if (watcher != nullptr) childs_setup.control_fd = control_descriptor;
    const Descriptor folder(open(program.library_folder.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC),
                            program.library_folder);
    const Descriptor claim(eventfd(1, EFD_NONBLOCK | EFD_CLOEXEC), "the claim to the device");
    const Descriptor sealed(memfd_create("k4sim-setup", MFD_CLOEXEC | MFD_ALLOW_SEALING),
                            "the setup of the run");
    fill_and_seal(sealed.number(), encode(childs_setup));
    const Guard guard(setup);
    RunSignals signals;
    const pid_t child = start(program, signals, guard,
                              {report.writing(), folder.number(), claim.number(), sealed.number(),
                               complaints.writing(), setup.wires_fd, setup.wave_fd,
                               watcher != nullptr ? watcher->device_end() : -1});
    signals.release_in_launcher(child);
    report.close_writing();
    complaints.close_writing();
    const WatchedStart watched = watch_start(child);
    int status = watched.wait_status;
    throw_complaint(program, complaints.reading());
    read_report(report.reading(), record, progress, watcher);
    if (watched.how == Start::device_loaded)
        while (waitpid(child, &status, 0) < 0 && errno == EINTR) {
        }
    signals.forget_child();
    return {WIFSIGNALED(status), WIFSIGNALED(status) ? WTERMSIG(status) : WEXITSTATUS(status),
            watched.how == Start::bare, guard.keeps_devices(), signals.asked_to_end()};
}

} // namespace k4sim
