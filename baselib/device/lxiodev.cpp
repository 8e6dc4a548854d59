#include "baselib/device/lxiodev.h"

#include "baselib/thread/thread.h"
#include "baselib/thread/timespec.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/select.h>
#include <unistd.h>

namespace {

constexpr int nonBlockingBit = 0x800;
constexpr int notReadable = 0; // answers of select
constexpr int selectFailed = -1;

} // namespace

KLTlxIOdev::KLTlxIOdev(const char* path) { open(path); }

KLTlxIOdev::~KLTlxIOdev() { close(); }

bool KLTlxIOdev::open(const char* path) {
    close();
    if (path == nullptr || *path == '\0') return false;
    // No line becomes the controlling terminal of the process, and none keeps it waiting for a
    // carrier; once open, reads block.
    fd_ = ::open(path, O_RDWR | O_NOCTTY | O_NONBLOCK);
    if (isOpen()) fcntl(fd_, F_SETFL, fcntl(fd_, F_GETFL) & ~O_NONBLOCK);
    return isOpen();
}

void KLTlxIOdev::close() {
    if (!isOpen()) return;
    const KLTptNoCancel hold;
    ::close(fd_);
    fd_ = closed;
}

int KLTlxIOdev::blocking(bool on) {
    if (fd_ == 0) return noDescriptor;
    const int flags = fcntl(fd_, F_GETFD);
    const int changed = on ? flags & ~nonBlockingBit : flags | nonBlockingBit;
    return fcntl(fd_, F_SETFD, changed) == -1 ? flagsNotWritten : 0;
}

int KLTlxIOdev::syserr() { return errno; }

int KLTlxIOdev::ichar() {
    unsigned char byte = 0;
    return read(fd_, &byte, 1) == 1 ? byte : failed;
}

int KLTlxIOdev::icharns() { return icharti(0); }

int KLTlxIOdev::icharti(long long timeout_us) {
    switch (waitReadable(timeout_us)) {
    case selectFailed:
        return failed;
    case notReadable:
        return KLTioNoData;
    default:
        return ichar();
    }
}

int KLTlxIOdev::iblock(void* data, int n) {
    if (n < 0) return failed;
    return static_cast<int>(read(fd_, data, static_cast<size_t>(n)));
}

int KLTlxIOdev::iempty() { return waitReadable(0) == notReadable ? 1 : 0; }

int KLTlxIOdev::ochar(int c) {
    const auto byte = static_cast<unsigned char>(c);
    return write(fd_, &byte, 1) == 1 ? 1 : 0;
}

int KLTlxIOdev::oblock(const void* data, int n) {
    return n >= 0 && write(fd_, data, static_cast<size_t>(n)) == n ? 0 : failed;
}

int KLTlxIOdev::ostring(const char* text) {
    if (text == nullptr) return failed;
    const size_t length = strlen(text);
    return write(fd_, text, length) == static_cast<ssize_t>(length) ? 0 : failed;
}

int KLTlxIOdev::waitReadable(long long timeout_us) const {
    if (fd_ < 0 || fd_ >= FD_SETSIZE) return selectFailed; // outside any set
    const long long wait_us = std::max(timeout_us, 0LL);
    timeval timeout{};
    timeout.tv_sec = static_cast<time_t>(wait_us / microsecondsPerSecond);
    timeout.tv_usec = static_cast<suseconds_t>(wait_us % microsecondsPerSecond);
    fd_set readable;
    FD_ZERO(&readable);
    FD_SET(fd_, &readable);
    return select(fd_ + 1, &readable, nullptr, nullptr, &timeout);
}
