#include "sim/host/death_watch.h"

#include "sim/host/code_place.h"
#include "sim/host/real.h"
#include "sim/machine/last_words.h"
#include "sim/machine/machine.h"
#include "sim/time/keep_errno.h"
#include "sim/time/scheduler.h"

#include <array>

namespace k4sim {

namespace {

using SigactionFunction = int(int, const struct sigaction*, struct sigaction*);

struct Watched {
    int signal;
    struct sigaction former;
};
std::array<Watched, 6> watched{
    {{SIGABRT, {}}, {SIGBUS, {}}, {SIGFPE, {}}, {SIGILL, {}}, {SIGSYS, {}}, {SIGTRAP, {}}}};
SigactionFunction* libc_sigaction = nullptr;

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
    death.address = interrupted_address(context);
    const CodePlace place = code_place(death.address);
    death.file = place.file;
    death.offset = place.offset;
    if (info.si_code > 0) death.accessed = reinterpret_cast<std::uintptr_t>(info.si_addr);
    machine().report_death(death);
}

} // namespace k4sim
