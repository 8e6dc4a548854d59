#include "sim/host/pipe_end.h"

#include "sim/host/descriptors.h"
#include "sim/host/real.h"
#include "sim/host/result.h"
#include "sim/time/keep_errno.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <poll.h>
#include <sys/stat.h>

namespace k4sim {

namespace {

bool ready(int descriptor, short wanted) {
    static auto* const real_poll = real_function<int(pollfd*, nfds_t, int)>("poll");
    pollfd state{descriptor, wanted, 0};
    return real_poll(&state, 1, 0) > 0;
}

// Unique among the open pipes of the system, and one for all event counters, which are of no type;
// 0 for what is neither.
ino_t pipe_inode(int descriptor) {
    struct stat status {};
    const bool known = fstat(descriptor, &status) == 0;
    return known && (S_ISFIFO(status.st_mode) || (status.st_mode & S_IFMT) == 0) ? status.st_ino
                                                                                 : 0;
}

} // namespace

PipeEnd::PipeEnd(int descriptor) : descriptor_(descriptor), inode_(pipe_inode(descriptor)) {}

bool PipeEnd::still_open() const {
    const KeepErrno keep_errno;
    return pipe_inode(descriptor_) == inode_;
}

bool PipeEnd::readable() const { return ready(descriptor_, POLLIN); }

bool PipeEnd::writable() const { return ready(descriptor_, POLLOUT); }

ssize_t PipeEnd::read(void* data, std::size_t size) {
    static auto* const real_read = real_function<ssize_t(int, void*, std::size_t)>("read");
    const ssize_t result = with_error(real_read(descriptor_, data, size));
    descriptors().changed();
    return result;
}

ssize_t PipeEnd::write(const void* data, std::size_t size) {
    static auto* const real_write = real_function<ssize_t(int, const void*, std::size_t)>("write");
    const ssize_t result =
        with_error(real_write(descriptor_, data, std::min<std::size_t>(size, PIPE_BUF)));
    descriptors().changed();
    return result;
}

int PipeEnd::control(unsigned long request, void* argument) {
    static auto* const real_control = real_function<int(int, unsigned long, ...)>("ioctl");
    return static_cast<int>(with_error(real_control(descriptor_, request, argument)));
}

} // namespace k4sim
