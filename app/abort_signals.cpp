#include "app/abort_signals.h"

#include <csignal>
#include <ctime>
#include <initializer_list>
#include <pthread.h>

namespace {

constexpr long long microsecondsPerSecond = 1'000'000;
constexpr long nanosecondsPerMicrosecond = 1'000;

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
    timespec patience{};
    patience.tv_sec = static_cast<time_t>(wait_us / microsecondsPerSecond);
    patience.tv_nsec =
        static_cast<long>(wait_us % microsecondsPerSecond) * nanosecondsPerMicrosecond;
    return sigtimedwait(&held, nullptr, &patience) > 0;
}
