#include "sim/machine/claim.h"

#include "sim/time/keep_errno.h"

#include <cstdint>
#include <poll.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace k4sim {

void Claim::share(int descriptor) { descriptor_ = descriptor; }

// By the system's own calls: the functions of libc have stand-ins.
bool Claim::take() {
    if (!shared() || held_) return true;
    const KeepErrno keep_errno;
    std::uint64_t token = 0;
    held_ = syscall(SYS_read, descriptor_, &token, sizeof token) == sizeof token;
    return held_;
}

bool Claim::is_free() const {
    const KeepErrno keep_errno;
    pollfd state{descriptor_, POLLIN, 0};
    return syscall(SYS_poll, &state, 1UL, 0) == 1;
}

} // namespace k4sim
