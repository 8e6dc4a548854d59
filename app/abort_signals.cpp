#include "app/abort_signals.h"

#include "baselib/thread/timespec.h"

#include <csignal>
#include <initializer_list>
#include <pthread.h>

namespace {

sigset_t abortSignals() {
    sigset_t set;
    sigemptyset(&set);
    for (const int signal : {SIGINT, SIGTERM, SIGHUP})
        sigaddset(&set, signal);
    return set;
}

} // namespace

void holdAbortSignals() {
    const sigset_t held = abortSignals();
    pthread_sigmask(SIG_BLOCK, &held, nullptr);
    signal(SIGPIPE, SIG_IGN);
}

bool takeAbortSignal(long long wait_us) {
    const sigset_t held = abortSignals();
    const timespec patience = timespecOf(wait_us);
    return sigtimedwait(&held, nullptr, &patience) > 0;
}
