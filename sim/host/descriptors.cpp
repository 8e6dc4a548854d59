#include "sim/host/descriptors.h"

#include "sim/host/pipe_end.h"
#include "sim/host/real.h"
#include "sim/host/real_file.h"
#include "sim/host/result.h"
#include "sim/host/threads.h"
#include "sim/machine/machine.h"
#include "sim/time/keep_errno.h"

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <vector>

namespace k4sim {

namespace {

int real_poll(pollfd* states, nfds_t count, int timeout_ms) {
    static auto* const function = real_function<int(pollfd*, nfds_t, int)>("poll");
    return function(states, count, timeout_ms);
}

bool in_real_time() { return !machine().setup().real.empty(); }

// When time alone makes the file ready. A file that is ready now is not in the way that the
// caller asks for.
Microseconds later_ready_at(const OpenFile& file) {
    const Microseconds ready = file.ready_at();
    return ready > scheduler().now() ? ready : never;
}

// What poll says of the file, of the events asked for.
int answer(const OpenFile& file, short events) {
    return ((events & POLLIN) != 0 && file.readable() ? POLLIN : 0) |
           ((events & POLLOUT) != 0 && file.writable() ? POLLOUT : 0);
}

} // namespace

void Descriptors::add_device(std::string path, Opener opener) {
    openers_.insert_or_assign(std::move(path), std::move(opener));
}

bool Descriptors::owns(int descriptor) const {
    const auto found = files_.find(descriptor);
    return found != files_.end() && found->second.file->still_open();
}

int Descriptors::open(std::string_view path, int flags) {
    if (!machine().claim()) return libc_result(-EBUSY);
    std::unique_ptr<OpenFile> file = openers_.find(path)->second();
    const int descriptor =
        file ? add(std::string(path), flags, std::move(file)) : libc_result(-ENOENT);
    const KeepErrno keep_errno;
    machine().event("program", "open", {{"device", path}, {"present", descriptor >= 0}});
    return descriptor;
}

ssize_t Descriptors::read(int descriptor, void* data, std::size_t size) {
    if (size < files_[descriptor].file->least_read()) return libc_result(-EINVAL);
    if (!wait_until(descriptor, &OpenFile::readable)) return -1;
    return libc_result(files_[descriptor].file->read(data, size));
}

ssize_t Descriptors::write(int descriptor, const void* data, std::size_t size) {
    std::size_t done = 0;
    do {
        if (!wait_until(descriptor, &OpenFile::writable)) break;
        const ssize_t result =
            files_[descriptor].file->write(static_cast<const char*>(data) + done, size - done);
        if (result < 0 && done == 0) return libc_result(result);
        if (result <= 0) break;
        done += static_cast<std::size_t>(result);
    } while (done < size);
    return done > 0 || size == 0 ? static_cast<ssize_t>(done) : -1;
}

int Descriptors::control(int descriptor, unsigned long request, void* argument) {
    return libc_result(files_[descriptor].file->control(request, argument));
}

void Descriptors::forget(int descriptor) {
    const auto found = files_.find(descriptor);
    if (!found->second.name.empty())
        machine().event("program", "close", {{"device", found->second.name}});
    files_.erase(found);
    changed();
}

int Descriptors::add(std::string name, int flags, std::unique_ptr<OpenFile> file) {
    static auto* const real_open = real_function<int(const char*, int, ...)>("open");
    constexpr int kept_flags = O_ACCMODE | O_CLOEXEC | O_NONBLOCK | O_APPEND;
    const int descriptor = real_open(file->path().c_str(), (flags & kept_flags) | O_NOCTTY);
    if (descriptor >= 0) files_[descriptor] = {std::move(file), std::move(name)};
    return descriptor;
}

void Descriptors::add_pipe(const int ends[2]) {
    for (const int end : {ends[0], ends[1]})
        look_after(end, std::make_unique<PipeEnd>(end));
}

void Descriptors::add_counter(int descriptor) {
    look_after(descriptor, std::make_unique<EventCounter>(descriptor));
}

void Descriptors::look_after(int descriptor, std::unique_ptr<OpenFile> file) {
    files_[descriptor] = {std::move(file), {}};
}

void Descriptors::leave_to_parent() {
    std::erase_if(files_, [](const auto& entry) { return entry.second.name.empty(); });
}

OpenFile* Descriptors::file(int descriptor) const {
    return owns(descriptor) ? files_.at(descriptor).file.get() : nullptr;
}

WakeReason Descriptors::wait_change(Microseconds deadline) {
    for (const auto& [descriptor, entry] : files_)
        deadline = std::min(deadline, later_ready_at(*entry.file));
    return wait_cancellable(this, deadline);
}

void Descriptors::forget_pipes() {
    std::erase_if(files_,
                  [](const auto& entry) { return entry.second.file->is_shared_after_fork(); });
}

int Descriptors::poll(pollfd* states, nfds_t count, Microseconds deadline) {
    if (deadline == never && count > 0 && !owns_any(states, count) && !in_real_time())
        return real_poll(states, count, -1);
    for (;;) {
        const int ready = look(states, count);
        if (ready != 0 || scheduler().now() >= deadline) return ready;
        const Microseconds until = std::min(deadline, ready_at(states, count));
        if (is_by_signal(wait_cancellable(this, until))) return libc_result(-EINTR);
    }
}

void Descriptors::changed() { scheduler().wake_all(this); }

// False, with errno, when the descriptor is not to be waited for or is gone.
bool Descriptors::wait_until(int descriptor, bool (OpenFile::*ready)() const) {
    for (;;) {
        const auto found = files_.find(descriptor);
        if (found == files_.end()) return libc_result(-EBADF) == 0;
        if ((found->second.file.get()->*ready)()) return true;
        if (is_nonblocking(descriptor)) return libc_result(-EAGAIN) == 0;
        const WakeReason reason = wait_cancellable(this, later_ready_at(*found->second.file));
        if (ends_call(reason, never)) return libc_result(-EINTR) == 0;
    }
}

bool Descriptors::is_nonblocking(int descriptor) const {
    return (fcntl(descriptor, F_GETFL) & O_NONBLOCK) != 0;
}

// The states as they are now; how many of them have something to say.
int Descriptors::look(pollfd* states, nfds_t count) const {
    const int result = real_poll(states, count, 0);
    if (result < 0) return result;
    for (pollfd* state = states; state != states + count; ++state) {
        const auto found = files_.find(state->fd);
        if (found == files_.end() || found->second.name.empty()) continue;
        // An end of a line that was hung up is known to the kernel.
        constexpr short always_told = POLLERR | POLLHUP | POLLNVAL;
        state->revents = static_cast<short>((state->revents & always_told) |
                                            answer(*found->second.file, state->events));
    }
    return static_cast<int>(std::count_if(states, states + count,
                                          [](const pollfd& state) { return state.revents != 0; }));
}

// When the first of the descriptors becomes ready by time alone. In real time each may.
Microseconds Descriptors::ready_at(const pollfd* states, nfds_t count) const {
    Microseconds first = in_real_time() && count > 0 ? scheduler().now() + real_look_us : never;
    for (const pollfd* state = states; state != states + count; ++state) {
        const auto found = files_.find(state->fd);
        if (found == files_.end()) continue;
        first = std::min(first, later_ready_at(*found->second.file));
    }
    return first;
}

bool Descriptors::owns_any(const pollfd* states, nfds_t count) const {
    return std::any_of(states, states + count, [&](const pollfd& state) { return owns(state.fd); });
}

Descriptors& descriptors() {
    static Descriptors* const only = new Descriptors;
    return *only;
}

} // namespace k4sim
