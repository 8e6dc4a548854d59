#include "sim/host/real_file.h"

#include "sim/host/real.h"
#include "sim/host/result.h"
#include "sim/time/keep_errno.h"
#include "sim/time/scheduler.h"

#include <fcntl.h>
#include <poll.h>
#include <utility>

namespace k4sim {

RealFile::RealFile(std::string path) : path_(std::move(path)) {
    const KeepErrno keep_errno;
    static auto* const system_open = libc_function<int(const char*, int, ...)>("open");
    descriptor_ = system_open(path_.c_str(), O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC);
}

RealFile::~RealFile() {
    const KeepErrno keep_errno;
    static auto* const system_close = libc_function<int(int)>("close");
    if (descriptor_ >= 0) system_close(descriptor_);
}

bool RealFile::readable() const { return ready(POLLIN); }

bool RealFile::writable() const { return ready(POLLOUT); }

Microseconds RealFile::ready_at() const { return scheduler().now() + real_look_us; }

ssize_t RealFile::read(void* data, std::size_t size) {
    static auto* const function = libc_function<ssize_t(int, void*, std::size_t)>("read");
    return with_error(function(descriptor_, data, size));
}

ssize_t RealFile::write(const void* data, std::size_t size) {
    static auto* const function = libc_function<ssize_t(int, const void*, std::size_t)>("write");
    return with_error(function(descriptor_, data, size));
}

int RealFile::control(unsigned long request, void* argument) {
    static auto* const function = libc_function<int(int, unsigned long, ...)>("ioctl");
    return with_error(function(descriptor_, request, argument));
}

// One that hung up is ready as well: the call has an answer.
bool RealFile::ready(short wanted) const {
    static auto* const function = libc_function<int(pollfd*, nfds_t, int)>("poll");
    const KeepErrno keep_errno;
    pollfd state{descriptor_, wanted, 0};
    return function(&state, 1, 0) > 0;
}

} // namespace k4sim
