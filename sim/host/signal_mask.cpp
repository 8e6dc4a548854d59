#include "sim/host/signal_mask.h"

namespace k4sim {

namespace {

bool lets_through_pending(const sigset_t& set) {
    sigset_t pending{};
    sigpending(&pending);
    for (int number = 1; number < NSIG; ++number)
        if (sigismember(&pending, number) == 1 && sigismember(&set, number) == 0) return true;
    return false;
}

} // namespace

Masked::Masked(const sigset_t* set) : masks_(set != nullptr) {
    if (!masks_) return;
    interrupted_ = lets_through_pending(*set);
    pthread_sigmask(SIG_SETMASK, set, &former_);
}

Masked::~Masked() {
    if (masks_) pthread_sigmask(SIG_SETMASK, &former_, nullptr);
}

} // namespace k4sim
