#include "sim/time/signals.h"

#include "sim/time/keep_errno.h"
#include "sim/time/system_call.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <fcntl.h>
#include <map>
#include <string_view>
#include <sys/syscall.h>
#include <unistd.h>
#include <vector>

namespace k4sim {

namespace {

constexpr char arrival = 0;

using Signals = std::map<int, std::vector<siginfo_t>>; // by the thread's number

Signals& unhandled() {
    static auto* const all = new Signals;
    return *all;
}

struct sigaction action_of(int number) {
    static auto* const real_sigaction =
        reinterpret_cast<int (*)(int, const struct sigaction*, struct sigaction*)>(
            dlsym(RTLD_NEXT, "sigaction"));
    struct sigaction action {};
    real_sigaction(number, nullptr, &action);
    return action;
}

// Without handling there is nothing that could end a wait.
bool is_ignored(int number) {
    constexpr int ignored[] = {SIGCHLD, SIGCONT, SIGURG, SIGWINCH};
    const auto handler = action_of(number).sa_handler;
    return handler == SIG_IGN ||
           (handler == SIG_DFL && std::ranges::find(ignored, number) != std::end(ignored));
}

// "SigBlk:" and hexadecimal digits, the last for the signals 1 to 4. The file can't be looked at
// by the stand-ins: actions of the scheduler come here.
std::uint64_t blocked_by(int system_id) {
    const KeepErrno keep_errno;
    std::array<char, 64> path{};
    std::string_view("/proc/self/task/").copy(path.data(), path.size());
    char* const end = std::to_chars(&path[16], &path[32], system_id).ptr;
    std::string_view("/status").copy(end, 7);
    const long file = system_call()(SYS_open, path.data(), O_RDONLY | O_CLOEXEC);
    std::array<char, 4096> text{};
    const long size = system_call()(SYS_read, file, text.data(), text.size());
    system_call()(SYS_close, file);
    const std::string_view status(text.data(), static_cast<std::size_t>(std::max(size, 0L)));
    constexpr std::string_view name = "\nSigBlk:\t";
    std::uint64_t blocked = 0;
    if (const std::size_t found = status.find(name); found != std::string_view::npos)
        std::from_chars(&status[found + name.size()], status.data() + status.size(), blocked, 16);
    return blocked;
}

// Left pending with the system. It takes only from the target itself what claims to come from a
// call or from the system.
void leave_to_system(const siginfo_t& signal) {
    const KeepErrno keep_errno;
    siginfo_t copy = signal;
    const auto call = system_call();
    if (call(SYS_rt_sigqueueinfo, getpid(), signal.si_signo, &copy) != 0)
        call(SYS_kill, getpid(), signal.si_signo);
    tell_of_pending_signal();
}

void leave_to_system(const siginfo_t& signal, int thread) {
    const KeepErrno keep_errno;
    siginfo_t copy = signal;
    const auto call = system_call();
    if (call(SYS_rt_tgsigqueueinfo, getpid(), thread, signal.si_signo, &copy) != 0)
        call(SYS_tgkill, getpid(), thread, signal.si_signo);
    tell_of_pending_signal();
}

// The first handler decides what becomes of the call that it interrupts, as in the kernel.
WakeReason handle(Thread& self) {
    std::vector<siginfo_t> signals;
    signals.swap(unhandled()[self.id]);
    const bool restarts =
        !signals.empty() && (action_of(signals.front().si_signo).sa_flags & SA_RESTART) != 0;
    for (const siginfo_t& signal : signals)
        leave_to_system(signal, self.system_id);
    return restarts ? WakeReason::restarted : WakeReason::interrupted;
}

} // namespace

siginfo_t made_signal(int number, int code) {
    siginfo_t signal{};
    signal.si_signo = number;
    signal.si_code = code;
    signal.si_pid = getpid();
    signal.si_uid = getuid();
    return signal;
}

Thread* acceptor_of(int number) {
    for (const auto& thread : scheduler().threads())
        if (thread->state != Thread::State::ended && thread->system_id != 0 &&
            !blocks(thread->system_id, number))
            return thread.get();
    return nullptr;
}

bool blocks(int system_id, int number) { return (blocked_by(system_id) >> (number - 1) & 1) != 0; }

bool signal_process(const siginfo_t& signal) {
    if (Thread* const thread = acceptor_of(signal.si_signo)) return signal_thread(*thread, signal);
    leave_to_system(signal);
    return true;
}

bool signal_thread(Thread& thread, const siginfo_t& signal) {
    const int number = signal.si_signo;
    if (thread.system_id != 0 && blocks(thread.system_id, number)) {
        leave_to_system(signal, thread.system_id);
        return true;
    }
    if (is_ignored(number)) return true;
    std::vector<siginfo_t>& signals = unhandled()[thread.id];
    const bool counts = number >= SIGRTMIN; // each of them
    const auto is_equal = [&](const siginfo_t& other) { return other.si_signo == number; };
    if (!counts && std::ranges::any_of(signals, is_equal)) return false;
    signals.push_back(signal);
    scheduler().interrupt(thread);
    return true;
}

void tell_of_pending_signal() { scheduler().wake_all(signal_arrival()); }

const void* signal_arrival() { return &arrival; }

void start_signals() { scheduler().set_signal_action(handle); }

void forget_signals() {
    unhandled().clear();
    for (const auto& thread : scheduler().threads())
        thread->signalled = false;
}

} // namespace k4sim
