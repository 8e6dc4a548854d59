// What stands behind a descriptor that the virtual K/4 looks after. The base class is a
// character device that never has data and knows no requests; a kind of device says
// only what is different.
#pragma once

#include "sim/models/surroundings.h"

#include <cstddef>
#include <limits>
#include <string>
#include <sys/types.h>

namespace k4sim {

class OpenFile {
public:
    virtual ~OpenFile() = default;

    // What the descriptor is for the kernel.
    virtual std::string path() const { return "/dev/null"; }

    // False when the descriptor was closed past the stand-ins and is another file now.
    virtual bool still_open() const { return true; }

    // Whether another process may hold the other end, once there is one.
    virtual bool is_shared_after_fork() const { return false; }

    // Whether `read` or `write` has an answer now. Whoever makes that true calls
    // Descriptors::changed().
    virtual bool readable() const { return false; }
    virtual bool writable() const { return true; }
    // When time alone will make it true; by default never.
    virtual Microseconds ready_at() const { return std::numeric_limits<Microseconds>::max(); }

    // Fewer bytes than that can't be read at all.
    virtual std::size_t least_read() const { return 0; }

    // Called only when readable or writable. The count of bytes, or an error number,
    // negative.
    virtual ssize_t read(void* data, std::size_t size);
    virtual ssize_t write(const void* data, std::size_t size);

    // The result of ioctl, or an error number, negative. `argument` as the program gave
    // it: a number or an address.
    virtual int control(unsigned long request, void* argument);
};

} // namespace k4sim
