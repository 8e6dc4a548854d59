#include "sim/host/death_watch.h"

#include "sim/host/code_place.h"
#include "sim/host/real.h"
#include "sim/machine/last_words.h"
#include "sim/machine/machine.h"
#include "sim/time/keep_errno.h"
#include "sim/time/scheduler.h"
#include "sim/time/signals.h"
#include "sim/time/system_call.h"

#include <algorithm>
#include <array>
#include <sys/syscall.h>
#include <unistd.h>

namespace k4sim {

namespace {

struct Watched {
    int signal;
    bool
        from_within; // else its default is what counts: a handler, or none, is the program's affair
    struct sigaction former;
};
std::array watched = std::to_array<Watched>(
    {{SIGABRT, true, {}},   {SIGBUS, true, {}},   {SIGFPE, true, {}},   {SIGILL, true, {}},
     {SIGSYS, true, {}},    {SIGTRAP, true, {}},  {SIGHUP, false, {}},  {SIGINT, false, {}},
     {SIGQUIT, false, {}},  {SIGTERM, false, {}}, {SIGALRM, false, {}}, {SIGUSR1, false, {}},
     {SIGUSR2, false, {}},  {SIGPIPE, false, {}}, {SIGIO, false, {}},   {SIGPWR, false, {}},
     {SIGXCPU, false, {}},  {SIGXFSZ, false, {}}, {SIGPROF, false, {}}, {SIGVTALRM, false, {}},
     {SIGSTKFLT, false, {}}});

Watched* find(int signal) {
    const auto found = std::ranges::find(watched, signal, &Watched::signal);
    return found == watched.end() ? nullptr : &*found;
}

// What an instruction did comes again by itself.
bool comes_again(const siginfo_t& info) {
    constexpr int faults[] = {SIGBUS, SIGFPE, SIGILL};
    return info.si_code > 0 && std::ranges::find(faults, info.si_signo) != std::end(faults);
}

// A signal that was sent to the process may come to any thread. The device is for the one that has
// its turn to look at. False when that is this one, or is deaf.
bool is_handed_on(int signal) {
    const int runner = scheduler().pulse().runner;
    if (runner == system_call()(SYS_gettid) || blocks(runner, signal)) return false;
    return system_call()(SYS_tgkill, getpid(), runner, signal) == 0;
}

// The former handling, and the signal once more.
void on_death(int signal, siginfo_t* info, void* context) {
    const KeepErrno keep_errno;
    Watched& one = *find(signal);
    if (!one.from_within && is_handed_on(signal)) return;
    libc_sigaction(signal, &one.former, nullptr);
    report_death(*info, context);
    if (!comes_again(*info)) raise(signal);
}

void watch(Watched& one) {
    struct sigaction action {};
    action.sa_sigaction = on_death;
    action.sa_flags = SA_SIGINFO | SA_ONSTACK;
    libc_sigaction(one.signal, &action, nullptr);
}

} // namespace

void watch_for_death() {
    for (Watched& one : watched) {
        libc_sigaction(one.signal, nullptr, &one.former);
        if (one.from_within || one.former.sa_handler == SIG_DFL) watch(one);
    }
}

bool is_death_watch(const struct sigaction& action) { return action.sa_sigaction == on_death; }

void watch_default(int signal) {
    Watched* const one = find(signal);
    if (one == nullptr) return;
    one->former = {};
    watch(*one);
}

void report_death(const siginfo_t& info, const void* context) {
    Death death;
    death.signal = info.si_signo;
    const Thread* const thread = Scheduler::current();
    if (thread != nullptr) death.thread = thread->id;
    death.address = interrupted_address(context);
    const CodePlace place = code_place(death.address);
    death.file = place.file;
    death.offset = place.offset;
    if (info.si_code > 0 && info.si_code != SI_KERNEL)
        death.accessed = reinterpret_cast<std::uintptr_t>(info.si_addr);
    machine().report_death(death);
}

} // namespace k4sim
