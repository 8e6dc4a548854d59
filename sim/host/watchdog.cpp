#include "sim/host/watchdog.h"

#include "sim/host/children.h"
#include "sim/host/code_place.h"
#include "sim/host/debugger.h"
#include "sim/host/real.h"
#include "sim/host/run.h"
#include "sim/machine/machine.h"
#include "sim/machine/report.h"
#include "sim/time/pace.h"
#include "sim/time/scheduler.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <charconv>
#include <csignal>
#include <cstdio>
#include <fcntl.h>
#include <string>
#include <string_view>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace k4sim {

namespace {

// It is looked in equal steps, so that a process which was stopped meanwhile, or is short of
// processor time, is not taken for one that stands.
constexpr int looks = 10;

Microseconds patience_us = 0;

std::string seconds_text(Microseconds duration) {
    char text[32];
    std::snprintf(text, sizeof text, "%g", static_cast<double>(duration) / 1e6);
    return text;
}

std::string name_of_caller() {
    char name[16] = "";
    prctl(PR_GET_NAME, name);
    const Thread* const thread = Scheduler::current();
    return (thread != nullptr ? std::to_string(thread->id) + " " : "") + "(" + name + ")";
}

// On the thread that stands, in the midst of whatever it does.
void on_stall(int, siginfo_t*, void* context) {
    const std::string thread = name_of_caller();
    const std::string place = code_place_text(interrupted_address(context));
    write_fully(STDERR_FILENO, "k4sim: no virtual time passes for " + seconds_text(patience_us) +
                                   " s: thread " + thread + " stands at " + place + "\n");
    machine().event("program", "stands",
                    {{"thread", std::string_view(thread)}, {"place", std::string_view(place)}});
    end_process(status_stalled, "stall");
}

int signal_number() { return SIGRTMAX; }

// Without a function that a sanitizer has replaced.
void tell_unheard(int runner) {
    std::array<char, 40> path{};
    std::string_view("/proc/self/task/").copy(path.data(), path.size());
    char* const end = std::to_chars(&path[16], &path[32], runner).ptr;
    std::string_view("/comm").copy(end, 5);
    std::array<char, 16> name{};
    const long file = syscall(SYS_open, path.data(), O_RDONLY);
    const long size = syscall(SYS_read, file, name.data(), name.size());
    const auto say = [](std::string_view text) {
        syscall(SYS_write, STDERR_FILENO, text.data(), text.size());
    };
    say("k4sim: no virtual time passes, and thread (");
    say({name.data(), static_cast<std::size_t>(std::max(size - 1, 0L))}); // without the line's end
    say(") answers to no signal\n");
}

// Of the looks in a row at which nothing moved, the one after which the thread has to answer.
// One that answers to no signal, or not in time, is ended unheard.
void strike(int quiet) {
    const int runner = scheduler().pulse().runner;
    if (quiet == looks) syscall(SYS_tgkill, getpid(), runner, signal_number());
    if (quiet < 2 * looks) return;
    tell_unheard(runner);
    syscall(SYS_exit_group, status_stalled);
}

// No thread of the program: it must call nothing that the scheduler or a sanitizer would.
void* watch(void*) {
    const Pulse& pulse = scheduler().pulse();
    std::uint32_t former = pulse.time;
    for (int quiet = 0;;) {
        real_sleep(patience_us / looks);
        const std::uint32_t now = pulse.time;
        const bool moves = now != former || pulse.held || has_child() || is_debugged();
        former = now;
        quiet = moves ? 0 : quiet + 1;
        strike(quiet);
    }
}

} // namespace

// libc's own functions: a sanitizer would wait for its thread, and wrap the handler.
void start_watchdog(Microseconds patience) {
    patience_us = patience;
    struct sigaction action {};
    action.sa_sigaction = on_stall;
    action.sa_flags = SA_SIGINFO;
    libc_sigaction(signal_number(), &action, nullptr);
    // The program's signals are for its threads.
    sigset_t all, former;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &former);
    pthread_t handle{};
    const int error =
        libc_function<int(pthread_t*, const pthread_attr_t*, void* (*)(void*), void*)>(
            "pthread_create")(&handle, nullptr, watch, nullptr);
    pthread_sigmask(SIG_SETMASK, &former, nullptr);
    if (error == 0)
        libc_function<int(pthread_t)>("pthread_detach")(handle);
    else
        write_fully(STDERR_FILENO, "k4sim: no thread to watch the run; one that stands stays\n");
}

} // namespace k4sim
