#include "sim/time/futex.h"

#include "sim/time/keep_errno.h"
#include "sim/time/system_call.h"

#include <linux/futex.h>
#include <sys/syscall.h>

namespace k4sim {

void give_permit(std::atomic<int>& permit) {
    const KeepErrno keep_errno;
    permit.store(1, std::memory_order_release);
    system_call()(SYS_futex, &permit, FUTEX_WAKE_PRIVATE, 1, nullptr, nullptr, 0);
}

void take_permit(std::atomic<int>& permit) {
    const KeepErrno keep_errno;
    while (permit.exchange(0, std::memory_order_acquire) == 0)
        system_call()(SYS_futex, &permit, FUTEX_WAIT_PRIVATE, 0, nullptr, nullptr, 0);
}

} // namespace k4sim
