// The descriptors that the virtual K/4 looks after: its device files, and the pipes of
// the program. A device file is open as a real descriptor, most of them of /dev/null, so
// that numbers never collide and descriptor flags are the kernel's business.
//
// Functions with an `int` or `ssize_t` result return what the libc function of that name
// returns, and set errno.
#pragma once

#include "sim/host/open_file.h"
#include "sim/models/surroundings.h"
#include "sim/time/scheduler.h"

#include <functional>
#include <map>
#include <memory>
#include <poll.h>
#include <string>
#include <string_view>

namespace k4sim {

class Descriptors {
public:
    // Makes what stands behind a newly opened device; null when it is absent (ENOENT).
    using Opener = std::function<std::unique_ptr<OpenFile>()>;

    // `path` belongs to the virtual K/4 from now on.
    void add_device(std::string path, Opener opener);

    bool owns_path(std::string_view path) const { return openers_.contains(path); }
    bool owns(int descriptor) const;

    // All of the following: only for a path or a descriptor that is owned.
    int open(std::string_view path, int flags);
    ssize_t read(int descriptor, void* data, std::size_t size);
    ssize_t write(int descriptor, const void* data, std::size_t size);
    int control(int descriptor, unsigned long request, void* argument);

    // Before the descriptor is really closed.
    void forget(int descriptor);

    // A descriptor for a file that no path leads to, opened with `flags`. `name` is for the
    // record. The result is that of open.
    int add(std::string name, int flags, std::unique_ptr<OpenFile> file);

    // Looks after the two ends of a pipe. After a fork nobody does: another process may
    // hold the other end, so waiting for it is waiting in real time.
    void add_pipe(const int ends[2]);
    void forget_pipes();

    // Looks after any other descriptor as after the end of a pipe: an event counter.
    void add_counter(int descriptor);

    // The same by another file, which has the descriptor itself be ready when it is ready.
    void look_after(int descriptor, std::unique_ptr<OpenFile> file);

    // In the child of a fork: all that add_... and look_after() added.
    void leave_to_parent();

    // Null when it is not owned.
    OpenFile* file(int descriptor) const;

    // Waits until something may have become ready, or the deadline has come. A cancellation
    // point.
    WakeReason wait_change(Microseconds deadline);

    // Waits until one of the descriptors is ready, owned or not, or the deadline has
    // come. The result is that of poll. A descriptor that is not owned is looked at only
    // when something else happens, or again and again when time is real.
    int poll(pollfd* states, nfds_t count, Microseconds deadline);

    // Something may have become readable or writable.
    void changed();

private:
    struct Entry {
        std::unique_ptr<OpenFile> file;
        std::string name; // empty: a pipe, or looked after as one
    };

    bool wait_until(int descriptor, bool (OpenFile::*ready)() const);
    bool is_nonblocking(int descriptor) const;
    int look(pollfd* states, nfds_t count) const;
    Microseconds ready_at(const pollfd* states, nfds_t count) const;
    bool owns_any(const pollfd* states, nfds_t count) const;

    std::map<std::string, Opener, std::less<>> openers_;
    std::map<int, Entry> files_;
};

// The table of this process, never destroyed.
Descriptors& descriptors();

} // namespace k4sim
