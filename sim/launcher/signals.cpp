#include "sim/launcher/signals.h"

#include <atomic>
#include <cerrno>
#include <fcntl.h>
#include <unistd.h>

namespace k4sim {

namespace {

std::atomic<pid_t> running_child{0};
std::atomic<bool> handed_on{false};
std::atomic<const GroupWitness*> group_witness{nullptr};
static_assert(std::atomic<pid_t>::is_always_lock_free, "for use in a signal handler");

bool in_foreground_of_terminal() {
    const int terminal = open("/dev/tty", O_RDONLY | O_NOCTTY | O_CLOEXEC);
    if (terminal < 0) return false;
    const bool foreground = tcgetpgrp(terminal) == getpgrp();
    close(terminal);
    return foreground;
}

void on_signal(int number, siginfo_t* info, void*) {
    const int error = errno;
    const pid_t child = running_child;
    const GroupWitness* const witness = group_witness;
    const bool has_it = witness != nullptr && witness->has_got(number);
    const bool hung_up = number == SIGHUP && info->si_code == SI_KERNEL; // comes more than once
    if (child != 0 && !hung_up) {
        if (handed_on.exchange(true))
            kill(child, SIGKILL);
        else if (!has_it)
            kill(child, number);
    }
    errno = error;
}

} // namespace

RunSignals::RunSignals() : in_foreground_(in_foreground_of_terminal()) {
    running_child = 0;
    handed_on = false;
    sigset_t held{};
    sigemptyset(&held);
    for (const int number : numbers)
        sigaddset(&held, number);
    sigprocmask(SIG_BLOCK, &held, &former_mask_);
    for (std::size_t i = 0; i < numbers.size(); ++i) {
        sigaction(numbers[i], nullptr, &former_[i]);
        if (former_[i].sa_handler == SIG_IGN) continue;
        struct sigaction action {};
        action.sa_sigaction = on_signal;
        action.sa_flags = SA_RESTART | SA_SIGINFO;
        sigaction(numbers[i], &action, nullptr);
    }
}

RunSignals::~RunSignals() {
    group_witness = nullptr;
    for (std::size_t i = 0; i < numbers.size(); ++i)
        sigaction(numbers[i], &former_[i], nullptr);
    sigprocmask(SIG_SETMASK, &former_mask_, nullptr);
}

void RunSignals::release_in_child() const {
    if (!in_foreground_) setpgid(0, 0);
    for (std::size_t i = 0; i < numbers.size(); ++i)
        sigaction(numbers[i], &former_[i], nullptr);
    sigprocmask(SIG_SETMASK, &former_mask_, nullptr);
}

void RunSignals::release_in_launcher(pid_t child) {
    running_child = child;
    if (in_foreground_) group_witness = &witness_.emplace();
    sigprocmask(SIG_SETMASK, &former_mask_, nullptr);
}

void RunSignals::kill_child() {
    if (const pid_t child = running_child; child != 0) kill(child, SIGKILL);
}

bool RunSignals::asked_to_end() const { return handed_on; }

void RunSignals::forget_child() { running_child = 0; }

} // namespace k4sim
