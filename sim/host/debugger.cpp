#include "sim/host/debugger.h"

#include "sim/machine/report.h"
#include "sim/time/keep_errno.h"
#include "sim/time/scheduler.h"
#include "sim/time/system_call.h"

#include <array>
#include <atomic>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <fcntl.h>
#include <string_view>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace k4sim {

namespace {

constexpr Microseconds look_us = 50'000;
std::atomic<bool> waits{false};

// Without a function that a sanitizer has replaced.
bool tracer_is_there() {
    constexpr std::string_view entry = "\nTracerPid:\t";
    const KeepErrno keep_errno;
    std::array<char, 512> text{};
    const long file = system_call()(SYS_open, "/proc/self/status", O_RDONLY | O_CLOEXEC);
    const long size = system_call()(SYS_read, file, text.data(), text.size() - 1);
    system_call()(SYS_close, file);
    if (size <= 0) return false;
    const std::string_view status(text.data());
    const std::size_t at = status.find(entry);
    return at != std::string_view::npos && status.substr(at + entry.size(), 1) != "0";
}

// A debugger stops the process to attach, and lets it go on; nothing else does but a signal that
// the program handles, such as a request to end.
bool was_let_go_on() {
    constexpr std::uint64_t no_signal = 0;
    const struct { long seconds, nanoseconds; } time{0, static_cast<long>(look_us * ns_per_us)};
    return system_call()(SYS_rt_sigtimedwait, &no_signal, nullptr, &time, sizeof no_signal) < 0 &&
           errno == EINTR;
}

} // namespace

// Port instructions are segmentation faults, which are the virtual device's affair.
void stand_still() {
    const KeepErrno keep_errno;
    prctl(PR_SET_PTRACER, PR_SET_PTRACER_ANY); // where only a parent may attach; else it fails
    std::array<char, 160> line{};
    std::snprintf(line.data(), line.size(),
                  "k4sim: the run stands still at %.6f s; attach by: gdb -p %d -ex 'handle SIGSEGV "
                  "nostop noprint pass'\n",
                  static_cast<double>(scheduler().now()) / us_per_second, getpid());
    write_fully(STDERR_FILENO, line.data());
    waits = true;
    while (!tracer_is_there() && !was_let_go_on()) {
    }
    waits = false;
}

bool is_debugged() { return waits || tracer_is_there(); }

} // namespace k4sim
