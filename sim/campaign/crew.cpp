#include "sim/campaign/crew.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <map>
#include <sched.h>
#include <stdexcept>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace k4sim {

namespace {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;

constexpr const char* own_program = "/proc/self/exe";

std::runtime_error failure(const std::string& what) {
    return std::runtime_error(what + ": " + std::strerror(errno));
}

// A folder for the records, for as long as it is needed.
class WorkFolder {
public:
    WorkFolder() : path_((fs::temp_directory_path() / "k4sim-XXXXXX").string()) {
        if (mkdtemp(path_.data()) == nullptr) throw failure(path_ + " can't be made");
    }
    ~WorkFolder() {
        std::error_code ignored;
        fs::remove_all(path_, ignored);
    }
    WorkFolder(const WorkFolder&) = delete;
    WorkFolder& operator=(const WorkFolder&) = delete;

    const std::string& path() const { return path_; }

private:
    std::string path_;
};

// Requests to end, which are noted instead.
class Requests {
public:
    Requests() {
        struct sigaction noted {};
        noted.sa_handler = [](int) { came_ = 1; };
        for (std::size_t i = 0; i < numbers.size(); ++i)
            sigaction(numbers[i], &noted, &former_[i]);
    }
    ~Requests() {
        for (std::size_t i = 0; i < numbers.size(); ++i)
            sigaction(numbers[i], &former_[i], nullptr);
    }
    Requests(const Requests&) = delete;
    Requests& operator=(const Requests&) = delete;

    static bool came() { return came_ != 0; }

private:
    static constexpr std::array<int, 3> numbers{SIGINT, SIGTERM, SIGHUP};
    inline static volatile std::sig_atomic_t came_ = 0;
    std::array<struct sigaction, numbers.size()> former_{};
};

// In a group of its own, so that Ctrl-C at the terminal does not come into its result.
[[noreturn]] void become(const std::vector<char*>& arguments, const std::string& complaints,
                         pid_t crew) {
    const int nowhere = open("/dev/null", O_RDWR);
    const int error = open(complaints.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
    const bool ready = nowhere >= 0 && error >= 0 && dup2(nowhere, STDIN_FILENO) >= 0 &&
                       dup2(nowhere, STDOUT_FILENO) >= 0 && dup2(error, STDERR_FILENO) >= 0 &&
                       setpgid(0, 0) == 0 && prctl(PR_SET_PDEATHSIG, SIGKILL) == 0 &&
                       getppid() == crew;
    if (ready) execv(own_program, arguments.data());
    _exit(127);
}

struct Running {
    std::size_t number;
    std::string folder;
    Clock::time_point begin;
};

class Shift {
public:
    ~Shift() {
        for (const auto& [child, run] : running_)
            kill(child, SIGKILL);
        while (!running_.empty() && wait_for_one().number != none) {
        }
    }

    std::size_t size() const { return running_.size(); }

    void start(std::size_t number, std::vector<std::string> words) {
        const std::string folder = work_.path() + "/" + std::to_string(number);
        words.insert(words.begin(), {"k4sim", "run", "--quiet", "--record", folder});
        std::vector<char*> arguments;
        for (std::string& word : words)
            arguments.push_back(word.data());
        arguments.push_back(nullptr);
        const pid_t crew = getpid();
        const pid_t child = fork();
        if (child < 0) throw failure("no process for a run");
        if (child == 0) become(arguments, complaints_of(folder), crew);
        running_[child] = {number, folder, Clock::now()};
    }

    // Its number is `none` when a signal came first.
    FinishedRun wait_for_one() {
        int status = 0;
        struct rusage used {};
        const pid_t child = wait4(-1, &status, 0, &used);
        const auto run = running_.find(child);
        if (run == running_.end()) return {none, "", 0, 0, 0};
        const std::chrono::duration<double> real = Clock::now() - run->second.begin;
        const FinishedRun finished{run->second.number, run->second.folder,
                                   WIFSIGNALED(status) ? 128 + WTERMSIG(status)
                                                       : WEXITSTATUS(status),
                                   real.count(), seconds(used.ru_utime) + seconds(used.ru_stime)};
        running_.erase(run);
        return finished;
    }

    static constexpr std::size_t none = static_cast<std::size_t>(-1);

private:
    static double seconds(const timeval& time) {
        return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
    }

    WorkFolder work_;
    std::map<pid_t, Running> running_;
};

unsigned own_processors() {
    cpu_set_t processors;
    if (sched_getaffinity(0, sizeof processors, &processors) != 0) return 1;
    return static_cast<unsigned>(std::max(1, CPU_COUNT(&processors)));
}

} // namespace

std::string complaints_of(const std::string& folder) { return folder + ".error"; }

Crew::Crew(unsigned jobs) : jobs_(jobs == 0 ? own_processors() : jobs) {}

bool Crew::run(std::size_t count, const Words& words, const Done& done) const {
    const Requests requests;
    Shift shift;
    std::size_t next = 0;
    while (!Requests::came() && (next < count || shift.size() > 0)) {
        while (next < count && shift.size() < jobs_) {
            shift.start(next, words(next));
            ++next;
        }
        const FinishedRun finished = shift.wait_for_one();
        if (finished.number == Shift::none) continue;
        done(finished);
        std::error_code ignored;
        fs::remove_all(finished.folder, ignored);
        fs::remove(complaints_of(finished.folder), ignored);
    }
    return !Requests::came();
}

} // namespace k4sim
