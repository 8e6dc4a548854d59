// Stand-ins for the functions of libc on descriptors. The symbol's name stands in
// quotes; the names with "64" are those of programs with 64-bit file offsets or times,
// the names with "_2" and "_chk" those of a hardened build.
#include "sim/host/deadline.h"
#include "sim/host/descriptors.h"
#include "sim/host/inheritance.h"
#include "sim/host/network_calls.h"
#include "sim/host/real.h"
#include "sim/host/result.h"
#include "sim/host/selection.h"
#include "sim/host/threads.h"
#include "sim/host/wire_time.h"
#include "sim/machine/console.h"
#include "sim/setup_process.h"
#include "sim/time/unobserved.h"

#include <cerrno>
#include <cstdarg>
#include <fcntl.h>
#include <unistd.h>

namespace k4sim {

namespace {

using OpenFunction = int(const char*, int, ...);
using OpenAtFunction = int(int, const char*, int, ...);

bool owned(int descriptor) { return at_call() && descriptors().owns(descriptor); }

bool owned(const char* path) {
    return at_call() && path != nullptr && descriptors().owns_path(path);
}

int open_file(const char* name, const char* path, int flags, mode_t mode) {
    if (owned(path)) return descriptors().open(path, flags);
    return real_function<OpenFunction>(name)(path, flags, mode);
}

int open_file_at(const char* name, int folder, const char* path, int flags, mode_t mode) {
    if (owned(path)) return descriptors().open(path, flags);
    return real_function<OpenAtFunction>(name)(folder, path, flags, mode);
}

ssize_t read_file(int descriptor, void* data, std::size_t size) {
    static auto* const real_read = real_function<ssize_t(int, void*, std::size_t)>("read");
    if (!owned(descriptor)) return real_read(descriptor, data, size);
    return descriptors().read(descriptor, data, size);
}

int control_file(const char* name, int descriptor, unsigned long request, void* argument) {
    if (owned(descriptor)) return descriptors().control(descriptor, request, argument);
    if (belongs_to_program())
        if (const auto answer = network_request(descriptor, request, argument))
            return libc_result(*answer);
    return real_function<int(int, unsigned long, ...)>(name)(descriptor, request, argument);
}

int make_pipe(int* ends, int flags) {
    static auto* const real_pipe = real_function<int(int*, int)>("pipe2");
    const int result = real_pipe(ends, flags);
    if (result == 0 && belongs_to_program()) descriptors().add_pipe(ends);
    return result;
}

int poll_files(pollfd* states, nfds_t count, int timeout_ms) {
    static auto* const real_poll = real_function<int(pollfd*, nfds_t, int)>("poll");
    if (!at_call()) return real_poll(states, count, timeout_ms);
    test_cancel();
    return descriptors().poll(states, count, deadline_after_ms(timeout_ms));
}

template <typename Time>
int select_files(const char* name, int count, fd_set* reading, fd_set* writing, fd_set* exceptions,
                 Time* timeout) {
    if (!at_call())
        return real_function<int(int, fd_set*, fd_set*, fd_set*, Time*)>(name)(
            count, reading, writing, exceptions, timeout);
    if (timeout == nullptr) return select_until(count, reading, writing, exceptions, never);
    if (timeout->seconds < 0 || timeout->fraction < 0) return libc_result(-EINVAL);
    const Microseconds deadline =
        virtual_time_after(span_us(timeout->seconds, timeout->fraction * ns_per_us));
    const int result = select_until(count, reading, writing, exceptions, deadline);
    // The system leaves what was not waited for.
    const Microseconds left = std::max<Microseconds>(deadline - scheduler().now(), 0);
    store(*timeout, left, 1);
    return result;
}

// Leaves out the descriptors of the run, which programs that are executed later need.
int close_files(unsigned first, unsigned last, int flags) {
    static auto* const real_close_range =
        real_function<int(unsigned, unsigned, int)>("close_range");
    if (!in_run()) return real_close_range(first, last, flags);
    int result = 0;
    if (first < first_descriptor)
        result = real_close_range(first, std::min<unsigned>(last, first_descriptor - 1), flags);
    if (last > last_descriptor && result == 0)
        result = real_close_range(std::max<unsigned>(first, last_descriptor + 1), last, flags);
    return result;
}

// The mode comes only with a flag that may create a file.
mode_t mode_of(int flags, va_list arguments) {
    // NOLINTNEXTLINE(clang-analyzer-valist.Uninitialized): started by the caller
    return (flags & (O_CREAT | O_TMPFILE)) != 0 ? va_arg(arguments, mode_t) : 0;
}

} // namespace

extern "C" {

#define OPEN(function, symbol)                                                                     \
    int function(const char* path, int flags, ...) asm(symbol);                                    \
    int function(const char* path, int flags, ...) {                                               \
        va_list arguments;                                                                         \
        va_start(arguments, flags);                                                                \
        const mode_t mode = mode_of(flags, arguments);                                             \
        va_end(arguments);                                                                         \
        return open_file(symbol, path, flags, mode);                                               \
    }
#define OPEN_AT(function, symbol)                                                                  \
    int function(int folder, const char* path, int flags, ...) asm(symbol);                        \
    int function(int folder, const char* path, int flags, ...) {                                   \
        va_list arguments;                                                                         \
        va_start(arguments, flags);                                                                \
        const mode_t mode = mode_of(flags, arguments);                                             \
        va_end(arguments);                                                                         \
        return open_file_at(symbol, folder, path, flags, mode);                                    \
    }

OPEN(plain_open, "open")
OPEN(wide_open, "open64")
OPEN(checked_open, "__open_2")
OPEN(checked_wide_open, "__open64_2")
OPEN_AT(plain_openat, "openat")
OPEN_AT(wide_openat, "openat64")
OPEN_AT(checked_openat, "__openat_2")
OPEN_AT(checked_wide_openat, "__openat64_2")

#undef OPEN
#undef OPEN_AT

int stand_in_close(int descriptor) asm("close");
int stand_in_close(int descriptor) {
    static auto* const real_close = real_function<int(int)>("close");
    if (belongs_to_run(descriptor)) return libc_result(-EBADF);
    const bool was_owned = owned(descriptor);
    if (was_owned) descriptors().forget(descriptor);
    const int result = real_close(descriptor);
    if (was_owned) descriptors().changed();
    return result;
}

int stand_in_close_range(unsigned first, unsigned last, int flags) asm("close_range");
int stand_in_close_range(unsigned first, unsigned last, int flags) {
    return close_files(first, last, flags);
}

void stand_in_closefrom(int first) asm("closefrom");
void stand_in_closefrom(int first) {
    close_files(static_cast<unsigned>(std::max(first, 0)), ~0U, 0);
}

ssize_t stand_in_read(int descriptor, void* data, std::size_t size) asm("read");
ssize_t stand_in_read(int descriptor, void* data, std::size_t size) {
    return read_file(descriptor, data, size);
}

ssize_t checked_read(int descriptor, void* data, std::size_t size,
                     std::size_t room) asm("__read_chk");
ssize_t checked_read(int descriptor, void* data, std::size_t size, std::size_t room) {
    if (owned(descriptor) && size <= room) return read_file(descriptor, data, size);
    return real_function<decltype(checked_read)>("__read_chk")(descriptor, data, size, room);
}

ssize_t stand_in_write(int descriptor, const void* data, std::size_t size) asm("write");
ssize_t stand_in_write(int descriptor, const void* data, std::size_t size) {
    static auto* const real_write = real_function<decltype(stand_in_write)>("write");
    if (owned(descriptor)) return descriptors().write(descriptor, data, size);
    const ssize_t written = real_write(descriptor, data, size);
    if (belongs_to_program()) {
        report_console(descriptor, data, size, written);
        at_call();
    }
    return written;
}

int plain_ioctl(int descriptor, unsigned long request, void* argument) asm("ioctl");
int plain_ioctl(int descriptor, unsigned long request, void* argument) {
    return control_file("ioctl", descriptor, request, argument);
}

int stand_in_pipe(int* ends) asm("pipe");
int stand_in_pipe(int* ends) { return make_pipe(ends, 0); }

int stand_in_pipe2(int* ends, int flags) asm("pipe2");
int stand_in_pipe2(int* ends, int flags) { return make_pipe(ends, flags); }

int stand_in_poll(pollfd* states, nfds_t count, int timeout_ms) asm("poll");
int stand_in_poll(pollfd* states, nfds_t count, int timeout_ms) {
    return poll_files(states, count, timeout_ms);
}

int checked_poll(pollfd* states, nfds_t count, int timeout_ms, std::size_t room) asm("__poll_chk");
int checked_poll(pollfd* states, nfds_t count, int timeout_ms, std::size_t room) {
    if (room / sizeof(pollfd) >= count) return poll_files(states, count, timeout_ms);
    return real_function<decltype(checked_poll)>("__poll_chk")(states, count, timeout_ms, room);
}

int plain_select(int count, fd_set* reading, fd_set* writing, fd_set* exceptions,
                 PlainTime* timeout) asm("select");
int plain_select(int count, fd_set* reading, fd_set* writing, fd_set* exceptions,
                 PlainTime* timeout) {
    return select_files("select", count, reading, writing, exceptions, timeout);
}

#ifdef __i386__
int wide_ioctl(int descriptor, unsigned long request, void* argument) asm("__ioctl_time64");
int wide_ioctl(int descriptor, unsigned long request, void* argument) {
    return control_file("__ioctl_time64", descriptor, request, argument);
}

int wide_select(int count, fd_set* reading, fd_set* writing, fd_set* exceptions,
                WideTimeval* timeout) asm("__select64");
int wide_select(int count, fd_set* reading, fd_set* writing, fd_set* exceptions,
                WideTimeval* timeout) {
    return select_files("__select64", count, reading, writing, exceptions, timeout);
}
#endif

} // extern "C"

} // namespace k4sim
