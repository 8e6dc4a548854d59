#include "sim/host/death_watch.h"

#include "sim/host/real.h"
#include "sim/machine/last_words.h"
#include "sim/machine/machine.h"
#include "sim/time/keep_errno.h"
#include "sim/time/scheduler.h"

#include <algorithm>
#include <array>
#include <dlfcn.h>
#include <link.h>
#include <ucontext.h>
#include <unistd.h>

namespace k4sim {

namespace {

using SigactionFunction = int(int, const struct sigaction*, struct sigaction*);

#ifdef __i386__
constexpr int instruction_register = REG_EIP;
#else
constexpr int instruction_register = REG_RIP;
#endif

struct Watched {
    int signal;
    struct sigaction former;
};
std::array<Watched, 6> watched{
    {{SIGABRT, {}}, {SIGBUS, {}}, {SIGFPE, {}}, {SIGILL, {}}, {SIGSYS, {}}, {SIGTRAP, {}}}};
SigactionFunction* libc_sigaction = nullptr;

// Of the program itself.
std::array<char, 4096> program_path{};

// By a lookup that takes no lock. The program itself has no name there.
void find_place(Death& death) {
    dl_find_object found{};
    // NOLINTNEXTLINE(performance-no-int-to-ptr): the register holds an address
    if (_dl_find_object(reinterpret_cast<void*>(death.address), &found) != 0) return;
    death.file = found.dlfo_link_map->l_name;
    death.offset = death.address - found.dlfo_link_map->l_addr;
    if (death.file.empty()) death.file = program_path.data();
}

// The former handling, and the signal once more: a bad instruction comes again by itself, the
// one that trapped or made a call is over.
void on_death(int signal, siginfo_t* info, void* context) {
    const KeepErrno keep_errno;
    report_death(*info, context);
    for (const Watched& one : watched)
        if (one.signal == signal) libc_sigaction(signal, &one.former, nullptr);
    if (info->si_code <= 0 || signal == SIGTRAP || signal == SIGSYS) raise(signal);
}

} // namespace

void watch_for_death() {
    const ssize_t size = readlink("/proc/self/exe", program_path.data(), program_path.size() - 1);
    program_path[static_cast<std::size_t>(std::max<ssize_t>(size, 0))] = '\0';
    libc_sigaction = libc_function<SigactionFunction>("sigaction");
    struct sigaction action {};
    action.sa_sigaction = on_death;
    action.sa_flags = SA_SIGINFO;
    for (Watched& one : watched)
        libc_sigaction(one.signal, &action, &one.former);
}

void report_death(const siginfo_t& info, const void* context) {
    Death death;
    death.signal = info.si_signo;
    const Thread* const thread = Scheduler::current();
    if (thread != nullptr) death.thread = thread->id;
    death.address = static_cast<std::uintptr_t>(
        static_cast<const ucontext_t*>(context)->uc_mcontext.gregs[instruction_register]);
    if (info.si_code > 0) death.accessed = reinterpret_cast<std::uintptr_t>(info.si_addr);
    find_place(death);
    machine().report_death(death);
}

} // namespace k4sim
