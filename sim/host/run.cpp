#include "sim/host/run.h"

#include "sim/host/alarm.h"
#include "sim/host/alsa_configuration.h"
#include "sim/host/death_watch.h"
#include "sim/host/debugger.h"
#include "sim/host/descriptors.h"
#include "sim/host/inheritance.h"
#include "sim/host/port_trap.h"
#include "sim/host/preload.h"
#include "sim/host/real.h"
#include "sim/host/real_ports.h"
#include "sim/host/serial_file.h"
#include "sim/host/signal_stack.h"
#include "sim/host/signal_timers.h"
#include "sim/host/speaker_file.h"
#include "sim/host/threads.h"
#include "sim/host/watchdog.h"
#include "sim/machine/console.h"
#include "sim/machine/machine.h"
#include "sim/machine/report.h"
#include "sim/setup.h"
#include "sim/setup_choices.h"
#include "sim/setup_process.h"
#include "sim/time/scheduler.h"
#include "sim/time/signals.h"

#include <csignal>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <new>
#include <pthread.h>
#include <string>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace k4sim {

namespace {

void in_parent() { descriptors().forget_pipes(); }

void in_child() {
    scheduler().keep_only_caller();
    forget_signals();
    forget_alarm();
    forget_signal_timers();
    descriptors().leave_to_parent();
    leave_serial_lines();
    if (machine().recorded()) start_watchdog(machine().setup().stall_us);
    machine().leave_record();
    inherit_run();
    // The ports are the parent's, like the rest of the device.
    if (Thread* thread = Scheduler::current(); thread != nullptr && in_run())
        thread->io_privilege = false;
}

// Before anything of them is used.
void tell_real_parts(const Setup& setup) {
    for (const RealPart& part : setup.real) {
        std::string names;
        for (const std::string& name : part.names)
            names.append(names.empty() ? "" : ",").append(name);
        machine().event("program", "real",
                        {{"role", name_of(roles, part.role)}, {"names", std::string_view(names)}});
    }
}

void start_recorded_run(const Setup& setup) {
    const auto end_at_limit = [] { end_process(status_limit, "limit"); };
    machine().record(setup, end_at_limit);
    capture_console(
        [](int stream, std::string_view text) { machine().console_text(stream, text); });
    tell_real_parts(setup);
    if (real_part(setup, Role::ports) != nullptr) use_real_ports();
    scheduler().set_pace(setup.pace);
    machine().set_stop_action([pace = setup.pace, gdb = setup.gdb] {
        if (!gdb) end_process(status_stopped, "stop");
        stand_still();
        scheduler().set_pace(pace);
    });
    if (setup.schedule == Schedule::random) scheduler().explore(setup.seed);
    scheduler().at(scheduler().now() + setup.limit_us, end_at_limit);
    start_watchdog(setup.stall_us);
}

[[noreturn]] void refuse(const char* why) {
    write_fully(STDERR_FILENO, "k4sim: " + std::string(why) + "\n");
    _exit(status_deadlock);
}

// Tells the launcher, which waits for it before it lets the program begin.
void report_in() {
    sigset_t trap{};
    sigset_t former{};
    sigemptyset(&trap);
    sigaddset(&trap, SIGTRAP);
    sigprocmask(SIG_UNBLOCK, &trap, &former);
    raise(SIGTRAP);
    sigprocmask(SIG_SETMASK, &former, nullptr);
}

// Takes the variable out of the environment: it is not the program's. In place, and without
// libc's functions, since a shell may have its own, which do not work yet.
std::string take_variable(char** environment, std::string_view name) {
    std::string value;
    char** kept = environment;
    for (; *environment != nullptr; ++environment) {
        const std::string_view variable(*environment);
        if (variable.starts_with(name) && variable.substr(name.size()).starts_with('='))
            value = variable.substr(name.size() + 1);
        else
            *kept++ = *environment;
    }
    *kept = nullptr;
    return value;
}

// Takes this library, which stands first, out of what is preloaded. The user's own stay, for what
// the program starts.
void take_preload(char** environment) {
    constexpr std::string_view assignment = "LD_PRELOAD=";
    const std::string libraries = take_variable(environment, "LD_PRELOAD");
    const std::size_t own_end = libraries.find(':');
    if (own_end == std::string::npos) return;
    static std::string& users = *new std::string(assignment); // for good
    users.append(libraries, own_end + 1);
    while (*environment != nullptr)
        ++environment;
    *environment = users.data(); // there is room where it was taken from
    *++environment = nullptr;
}

// Empty when it is not there.
std::string setup_of_run() {
    struct stat status {};
    if (fstat(setup_descriptor, &status) != 0 || status.st_size <= 0) return "";
    const auto size = static_cast<std::size_t>(status.st_size);
    void* const memory = mmap(nullptr, size, PROT_READ, MAP_PRIVATE, setup_descriptor, 0);
    if (memory == MAP_FAILED) return "";
    std::string text(static_cast<const char*>(memory), size);
    munmap(memory, size);
    return text;
}

// A process of a run, or a unit test.
void start_run(const std::string& role) {
    if (role.empty()) return;
    const std::string text = setup_of_run();
    const auto setup = decode(text);
    if (text.empty() || !setup)
        refuse("there is no setup of a run; start the program by k4sim run");
    if (role == role_watched) report_in();
    join_run(role);
    machine().share(claim_descriptor, role != role_further);
    start_recorded_run(*setup);
}

__attribute__((constructor)) void start(int, char** arguments, char** environment) {
    put_in_front(arguments);
    const std::string role = take_variable(environment, role_variable);
    if (!role.empty()) take_preload(environment);
    scheduler().set_deadlock_action([] { end_process(status_deadlock, "deadlock"); });
    start_signals();
    descriptors().add_device("/dev/console", open_speaker);
    add_serial_devices();
    pthread_atfork(nullptr, in_parent, in_child);
    alignas(SignalStack) static std::byte of_first_thread[sizeof(SignalStack)];
    new (of_first_thread) SignalStack; // for good
    install_port_trap();
    watch_for_death();
    machine();
    start_run(role);
    configure_alsa(machine().setup());
}

__attribute__((destructor)) void end() {
    std::fflush(stdout);
    machine().end_record("end");
    // What still runs is not the program's. A leak checker yields while it holds the heap's
    // locks, when nothing of the virtual device may allocate.
    Scheduler::release_caller();
}

} // namespace

extern "C" {

// Ends without the destructors that end the record.
[[noreturn]] void stand_in_exit(int status) asm("_exit");
void stand_in_exit(int status) {
    if (belongs_to_program()) machine().end_record("end");
    syscall(SYS_exit_group, status);
    std::abort();
}

} // extern "C"

void end_process(int status, const char* reason) {
    std::fflush(stdout);
    if (!machine().recorded()) write_fully(STDERR_FILENO, "k4sim: " + std::string(reason) + "\n");
    machine().end_record(reason);
    // Past a sanitizer, which would find fault with a thread stopped in the scheduler.
    syscall(SYS_exit_group, status);
    std::abort();
}

} // namespace k4sim
