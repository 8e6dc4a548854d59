#include "sim/launcher/handshake.h"

#include "sim/launcher/options.h"
#include "sim/programs/program_file.h"

#include <cerrno>
#include <csignal>
#include <cstdint>
#include <cstring>
#include <elf.h>
#include <fcntl.h>
#include <fstream>
#include <string>
#include <sys/ptrace.h>
#include <sys/wait.h>
#include <unistd.h>

namespace k4sim {

namespace {

constexpr std::uint8_t trap_instruction = 0xCC;

int wait_for(pid_t child) {
    int status = 0;
    while (waitpid(child, &status, 0) < 0 && errno == EINTR) {
    }
    return status;
}

[[noreturn]] void give_up(pid_t child, const std::string& what) {
    const std::string why = std::strerror(errno);
    kill(child, SIGKILL);
    wait_for(child);
    throw UsageError("the start of the program can't be watched: " + what + ": " + why);
}

std::string file_of(pid_t child, const char* name) {
    return "/proc/" + std::to_string(child) + "/" + name;
}

template <class Entry>
std::uint64_t entry_told_by(std::ifstream& vector) {
    for (Entry entry{}; vector.read(reinterpret_cast<char*>(&entry), sizeof entry);)
        if (entry.a_type == AT_ENTRY) return entry.a_un.a_val;
    return 0;
}

// Where the program begins, as the system tells the loader.
std::uint64_t entry_of(pid_t child) {
    std::ifstream vector(file_of(child, "auxv"), std::ios::binary);
    return elf_word_size(file_of(child, "exe")) == WordSize::bits32
               ? entry_told_by<Elf32_auxv_t>(vector)
               : entry_told_by<Elf64_auxv_t>(vector);
}

// The trap at the program's entry.
class EntryTrap {
public:
    explicit EntryTrap(pid_t child) : child_(child) {}
    ~EntryTrap() { close_memory(); }
    EntryTrap(const EntryTrap&) = delete;
    EntryTrap& operator=(const EntryTrap&) = delete;

    // Into the program that the child has just executed.
    void set() {
        close_memory();
        entry_ = static_cast<off_t>(entry_of(child_));
        memory_ = open(file_of(child_, "mem").c_str(), O_RDWR | O_CLOEXEC);
        if (memory_ < 0 || pread(memory_, &former_, 1, entry_) != 1) give_up(child_, "no memory");
        put(trap_instruction);
    }
    void remove() { put(former_); }

private:
    void put(std::uint8_t instruction) {
        if (pwrite(memory_, &instruction, 1, entry_) != 1) give_up(child_, "no entry");
    }
    void close_memory() {
        if (memory_ >= 0) close(memory_);
        memory_ = -1;
    }

    pid_t child_;
    int memory_ = -1;
    off_t entry_ = 0;
    std::uint8_t former_ = 0;
};

} // namespace

bool ask_to_be_watched() { return ptrace(PTRACE_TRACEME, 0, nullptr, nullptr) == 0; }

WatchedStart watch_start(pid_t child) {
    EntryTrap trap(child);
    for (;;) {
        const int status = wait_for(child);
        if (!WIFSTOPPED(status)) return {Start::ended, status};
        siginfo_t info{};
        const int signal = WSTOPSIG(status);
        const bool told = ptrace(PTRACE_GETSIGINFO, child, nullptr, &info) == 0;
        long passed_on = 0;
        if (signal != SIGTRAP || !told) {
            passed_on = signal;
        } else if (info.si_code == SI_TKILL) { // the library's
            trap.remove();
            if (ptrace(PTRACE_DETACH, child, nullptr, nullptr) != 0) give_up(child, "no end");
            return {Start::device_loaded, 0};
        } else if (info.si_code == SI_KERNEL) { // the one at the entry
            kill(child, SIGKILL);
            return {Start::bare, wait_for(child)};
        } else { // an execution
            trap.set();
            ptrace(PTRACE_SETOPTIONS, child, nullptr, PTRACE_O_EXITKILL);
        }
        ptrace(PTRACE_CONT, child, nullptr, passed_on);
    }
}

} // namespace k4sim
