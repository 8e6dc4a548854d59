#include "sim/host/children.h"

#include "sim/time/keep_errno.h"
#include "sim/time/system_call.h"

#include <csignal>
#include <sys/syscall.h>
#include <sys/wait.h>

namespace k4sim {

// Without a function that a sanitizer has replaced.
bool has_child() {
    const KeepErrno keep_errno;
    siginfo_t info{};
    constexpr int look_only = WEXITED | WNOHANG | WNOWAIT;
    return system_call()(SYS_waitid, P_ALL, 0, &info, look_only, nullptr) == 0;
}

} // namespace k4sim
