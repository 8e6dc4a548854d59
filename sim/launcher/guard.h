// What the kernel keeps a program from, should it ever get past the virtual device: the port
// instructions, and the device files.
#pragma once

#include "sim/setup.h"

namespace k4sim {

// For one process. Made before the fork, entered in the child: from then on it holds for the
// child, its threads and all that they execute.
class Guard {
public:
    // The parts that `setup` has as real ones stay within reach. Throws UsageError when the system
    // has no means to deny a system call.
    explicit Guard(const Setup& setup);
    ~Guard();
    Guard(const Guard&) = delete;
    Guard& operator=(const Guard&) = delete;

    // Whether device files are out of reach as well, those that are meant to be; not on a kernel
    // without Landlock.
    bool keeps_devices() const { return all_real_ || rules_ >= 0; }

    // After PR_SET_NO_NEW_PRIVS. False, with errno, when that can't be.
    bool enter() const;

private:
    bool all_real_;
    void* filter_;   // denies iopl and ioperm, unless the ports are real
    int rules_ = -1; // Landlock's; -1 without
};

} // namespace k4sim
