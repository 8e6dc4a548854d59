#include "baselib/thread/multisema.h"

#include "baselib/thread/thread.h"

#include <cerrno>
#include <unistd.h>

namespace {

constexpr int unusable = -1;

} // namespace

KLTmultisema::KLTmultisema() {
    int ends[2];
    if (pipe(ends) != 0) return;
    readEnd_ = ends[0];
    writeEnd_ = ends[1];
}

KLTmultisema::~KLTmultisema() {
    if (readEnd_ < 0) return;
    const KLTptNoCancel noCancel; // close() is a cancellation point
    close(readEnd_);
    close(writeEnd_);
}

int KLTmultisema::signal(int value) {
    ssize_t written;
    do
        written = write(writeEnd_, &value, sizeof value);
    while (written < 0 && errno == EINTR);
    return written == sizeof value ? 0 : unusable;
}

// Pipe transfers of 4 bytes are never split, so that waiting threads can't share a value.
int KLTmultisema::wait() {
    int value = 0;
    ssize_t got;
    do
        got = read(readEnd_, &value, sizeof value);
    while (got < 0 && errno == EINTR);
    return got == sizeof value ? value : unusable;
}
