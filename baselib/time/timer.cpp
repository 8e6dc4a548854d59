#include "baselib/time/timer.h"

#include "baselib/time/clock.h"

KLTtimer::~KLTtimer() {
    stop();
    if (target_) *target_ += accumulated_;
}

void KLTtimer::start() {
    if (running_) return;
    started_ = KLFnow();
    running_ = true;
}

void KLTtimer::stop() {
    accumulated_ = **this;
    running_ = false;
}

void KLTtimer::clear() {
    accumulated_ = 0;
    started_ = KLFnow();
}

long long KLTtimer::operator*() const {
    return running_ ? accumulated_ + KLFnow() - started_ : accumulated_;
}

KLTtimer::KLTtimer(long long* target, long long initial, bool start)
    : target_(target), accumulated_(initial) {
    if (start) this->start();
}
