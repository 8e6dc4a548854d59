#include "sim/host/debugger.h"

#include "sim/machine/report.h"
#include "sim/setup_process.h"
#include "sim/time/keep_errno.h"
#include "sim/time/scheduler.h"
#include "sim/time/system_call.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <climits>
#include <cstdint>
#include <cstdio>
#include <fcntl.h>
#include <string>
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

// A debugger stops the process to attach, and may let it go again before anybody looks: what is
// stopped meanwhile is this wait for no signal at all.
bool was_let_go_on() {
    constexpr std::uint64_t no_signal = 0;
    const struct { long seconds, nanoseconds; } time{0, static_cast<long>(look_us * ns_per_us)};
    return system_call()(SYS_rt_sigtimedwait, &no_signal, nullptr, &time, sizeof no_signal) < 0 &&
           errno == EINTR;
}

// Where a debugger finds this library, whose path leads elsewhere in each process.
std::string library_place() {
    std::string place = library_folder;
    place.pop_back(); // the link itself
    std::array<char, PATH_MAX> path{};
    const ssize_t size = readlink(place.c_str(), path.data(), path.size());
    return {path.data(), static_cast<std::size_t>(std::max<ssize_t>(size, 0))};
}

} // namespace

// Port instructions are segmentation faults, which are the virtual device's affair.
void stand_still() {
    const KeepErrno keep_errno;
    prctl(PR_SET_PTRACER, PR_SET_PTRACER_ANY); // where only a parent may attach; else it fails
    std::array<char, 80> line{};
    std::snprintf(line.data(), line.size(),
                  "k4sim: the run stands still at %.6f s; attach by: gdb -p %d",
                  static_cast<double>(scheduler().now()) / us_per_second, getpid());
    write_fully(STDERR_FILENO, line.data() + (" -ex 'set solib-search-path " + library_place()) +
                                   "' -ex 'handle SIGSEGV nostop noprint pass'\n");
    waits = true;
    while (!tracer_is_there() && !was_let_go_on()) {
    }
    waits = false;
}

bool is_debugged() { return waits || tracer_is_there(); }

} // namespace k4sim
