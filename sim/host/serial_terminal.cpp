#include "sim/host/serial_terminal.h"

#include "sim/host/clocks.h"
#include "sim/host/descriptors.h"
#include "sim/host/line_settings.h"
#include "sim/host/real.h"
#include "sim/host/result.h"
#include "sim/host/run.h"
#include "sim/machine/machine.h"
#include "sim/machine/report.h"
#include "sim/time/keep_errno.h"
#include "sim/time/scheduler.h"
#include "sim/time/unobserved.h"

#include <algorithm>
#include <asm/ioctls.h>
#include <asm/termbits.h> // in place of <termios.h>: speeds are numbers here
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <unistd.h>

namespace k4sim {

namespace {

constexpr std::size_t input_limit = 4095; // of the line discipline
constexpr int own_flags = O_RDWR | O_NOCTTY | O_CLOEXEC | O_NONBLOCK;

// libc's own functions, past the stand-ins and past a sanitizer, which knows nothing of
// these descriptors.
ssize_t system_read(int descriptor, void* data, std::size_t size) {
    static auto* const function = libc_function<ssize_t(int, void*, std::size_t)>("read");
    return function(descriptor, data, size);
}

ssize_t system_write(int descriptor, const void* data, std::size_t size) {
    static auto* const function = libc_function<ssize_t(int, const void*, std::size_t)>("write");
    return function(descriptor, data, size);
}

int system_ioctl(int descriptor, unsigned long request, void* argument) {
    static auto* const function = libc_function<int(int, unsigned long, ...)>("ioctl");
    return function(descriptor, request, argument);
}

void system_close(int& descriptor) {
    static auto* const function = libc_function<int(int)>("close");
    if (descriptor >= 0) function(std::exchange(descriptor, -1));
}

std::size_t number_of(const void* argument) { return reinterpret_cast<std::uintptr_t>(argument); }

int store_count(void* where, std::size_t count) {
    const int value = static_cast<int>(count);
    std::memcpy(where, &value, sizeof value);
    return 0;
}

[[noreturn]] void refuse() {
    write_fully(STDERR_FILENO, "k4sim: /dev/ptmx gives no pseudo-terminal for a serial adapter: " +
                                   std::string(std::strerror(errno)) + "\n");
    end_process(status_deadlock, "no-pseudo-terminal");
}

} // namespace

SerialTerminal::SerialTerminal(SerialAdapter& adapter, int device_number)
    : adapter_(&adapter), device_number_(device_number) {
    open_pair();
    set_initially();
    learn_settings();
}

SerialTerminal::~SerialTerminal() { leave(); }

void SerialTerminal::closed() {
    if (--open_count_ > 0 || adapter_ == nullptr) return;
    const Unobserved unobserved;
    const KeepErrno keep_errno;
    kernel_control(TCFLSH, reinterpret_cast<void*>(TCIFLUSH));
    arrived_.clear();
    input_.clear();
}

bool SerialTerminal::readable() {
    const Unobserved unobserved;
    const KeepErrno keep_errno;
    if (adapter_ != nullptr && !has_enough()) take_in();
    return adapter_ == nullptr || has_enough();
}

bool SerialTerminal::writable() const {
    if (adapter_ == nullptr) return true;
    static auto* const poll_function = libc_function<int(pollfd*, nfds_t, int)>("poll");
    const KeepErrno keep_errno;
    pollfd state{slave_, POLLOUT, 0};
    return adapter_->unsent() < SerialAdapter::buffer_size && poll_function(&state, 1, 0) > 0;
}

ssize_t SerialTerminal::read(void* data, std::size_t size) {
    const Unobserved unobserved;
    if (adapter_ == nullptr) return with_error(system_read(slave_, data, size));
    std::size_t done = 0;
    do {
        std::string& piece = input_.front();
        const std::size_t count = piece.copy(static_cast<char*>(data) + done, size - done);
        piece.erase(0, count);
        if (piece.empty()) input_.pop_front();
        done += count;
    } while (!canonical_ && done < size && !input_.empty());
    return static_cast<ssize_t>(done);
}

ssize_t SerialTerminal::write(const void* data, std::size_t size) {
    const Unobserved unobserved;
    if (adapter_ != nullptr) {
        if (adapter_->refuses_output()) return -EIO;
        size = std::min(size, SerialAdapter::buffer_size - adapter_->unsent());
    }
    const ssize_t result = with_error(system_write(slave_, data, size));
    send_out();
    return result;
}

int SerialTerminal::control(unsigned long request, void* argument) {
    const Unobserved unobserved;
    if (adapter_ == nullptr) return kernel_control(request, argument);
    if (is_change_of_settings(request)) return change_settings(request, argument);
    switch (request) {
    case TCFLSH:
        return flush(request, argument);
    case TCSBRK: // with an argument it only waits
        wait_until_sent();
        return kernel_control(request, argument);
    case FIONREAD:
        take_in();
        return store_count(argument, waiting());
    case TIOCOUTQ:
        return store_count(argument, adapter_->unsent());
    default:
        return kernel_control(request, argument);
    }
}

void SerialTerminal::arrive(std::uint8_t byte) {
    if (open_count_ == 0) return;
    const KeepErrno keep_errno;
    if (arrived_.size() + waiting() >= input_limit) {
        machine().event("serial", "overrun", {{"device", std::int64_t{device_number_}}});
        return;
    }
    arrived_ += static_cast<char>(byte);
    if (answers_) take_in();
    descriptors().changed();
}

// Closing the master is to the slave what pulling out is to a serial device.
void SerialTerminal::hang_up() {
    const KeepErrno keep_errno;
    adapter_ = nullptr;
    system_close(master_);
    descriptors().changed();
}

void SerialTerminal::leave() {
    system_close(master_);
    system_close(slave_);
}

void SerialTerminal::open_pair() {
    char name[64];
    master_ = posix_openpt(own_flags);
    if (master_ < 0 || grantpt(master_) != 0 || unlockpt(master_) != 0 ||
        ptsname_r(master_, name, sizeof name) != 0)
        refuse();
    path_ = name;
    static auto* const system_open = libc_function<int(const char*, int, ...)>("open");
    slave_ = system_open(name, own_flags);
    if (slave_ < 0) refuse();
}

// A pseudo-terminal begins like any terminal, but as fast as can be.
void SerialTerminal::set_initially() {
    termios2 settings{};
    kernel_control(TCGETS2, &settings);
    settings.c_cflag = B9600 | CS8 | CREAD | HUPCL | CLOCAL;
    kernel_control(TCSETS2, &settings);
}

void SerialTerminal::learn_settings() {
    const LineSettings settings = line_settings(slave_);
    canonical_ = settings.canonical;
    answers_ = settings.answers;
    read_minimum_ = settings.read_minimum;
    adapter_->set_baud(settings.baud);
    machine().event("serial", "settings",
                    {{"device", std::int64_t{device_number_}},
                     {"baud", std::int64_t{settings.baud}},
                     {"raw", !answers_}});
}

int SerialTerminal::change_settings(unsigned long request, void* argument) {
    if (adapter_->refuses_settings()) return -EIO;
    if (waits_for_output(request)) wait_until_sent();
    if (adapter_ != nullptr) take_in();
    const int result = kernel_control(request, argument);
    if (result < 0 || adapter_ == nullptr) return result;
    if (flushes_input(request)) input_.clear();
    learn_settings();
    return result;
}

int SerialTerminal::flush(unsigned long request, void* argument) {
    const std::size_t queue = number_of(argument);
    if (queue == TCIFLUSH || queue == TCIOFLUSH) {
        arrived_.clear();
        input_.clear();
    }
    if (queue == TCOFLUSH || queue == TCIOFLUSH) adapter_->drop_unsent();
    return kernel_control(request, argument);
}

int SerialTerminal::kernel_control(unsigned long request, void* argument) const {
    return static_cast<int>(with_error(system_ioctl(slave_, request, argument)));
}

void SerialTerminal::wait_until_sent() {
    while (adapter_ != nullptr && adapter_->all_sent_at() != never)
        sleep_until(adapter_->all_sent_at());
}

// Lets the line discipline have what has arrived.
void SerialTerminal::take_in() {
    if (!arrived_.empty()) system_write(master_, arrived_.data(), arrived_.size());
    arrived_.clear();
    pull();
    send_out();
}

// A line that was ended with nothing in it is an end of file to the program.
void SerialTerminal::pull() {
    char piece[input_limit];
    ssize_t count;
    while ((count = system_read(slave_, piece, sizeof piece)) > 0)
        input_.emplace_back(piece, static_cast<std::size_t>(count));
    if (count == 0 && canonical_) input_.emplace_back();
}

void SerialTerminal::send_out() {
    std::uint8_t bytes[SerialAdapter::buffer_size];
    ssize_t count;
    while (adapter_ != nullptr && (count = system_read(master_, bytes, sizeof bytes)) > 0)
        adapter_->send({bytes, static_cast<std::size_t>(count)});
}

bool SerialTerminal::has_enough() const {
    return canonical_ ? !input_.empty() : waiting() >= read_minimum_;
}

std::size_t SerialTerminal::waiting() const {
    std::size_t count = 0;
    for (const std::string& piece : input_)
        count += piece.size();
    return count;
}

} // namespace k4sim
