#include "app/aesebu_test.h"

#include "baselib/print/astrs.h"
#include "baselib/print/nstream.h"
#include "baselib/time/clock.h"

namespace {

constexpr const char* digitalDevice = "hw:0,1";
constexpr int rates_hz[] = {32000, 44100, 48000};

constexpr long long lockPause_us = 100'000;
constexpr long long stable_us = 5'000'000;

constexpr long long notHolding = 0;

int rateOfStep(int step) { return rates_hz[step - 1]; }

} // namespace

KLTastr K4STaesebu::info() {
    const KLTptmutexHold hold(mutex_);
    // As a view, so that the copy gets a node of its own: shared ones belong to one thread.
    return KLTastr(static_cast<const KLTastrc&>(result_));
}

void K4STaesebu::tfunc() {
    if (!begin()) return;
    while (!stopRequested() && goOn())
        KLFdelay(lockPause_us);
    playback_.close();
    capture_.close();
}

// False when the test can't be made.
bool K4STaesebu::begin() {
    using Direction = KLTalsaPCMline::Direction;
    step_ = stepUnplugged;
    deadline_us_ = notHolding;
    if (!openLine(capture_, Direction::capture, "Cannot open 'hw:0,1' capture")) return false;
    if (!openLine(playback_, Direction::playback, "Cannot open 'hw:0,1' playback")) return false;
    show("Wait for cable unplugged");
    const int error = selectRate(rates_hz[0]);
    if (error == 0) return true;
    KLTastrs text;
    text << "SR config error " << error;
    show(text.str());
    return false;
}

bool K4STaesebu::openLine(KLTalsaPCMline& line, KLTalsaPCMline::Direction direction,
                          const char* failure) {
    if (line.open(digitalDevice, direction)) return true;
    show(failure);
    return false;
}

// A line that can't take the rate shows as a receiver that does not tell it.
int K4STaesebu::selectRate(int rate_hz) {
    playback_.setRate(static_cast<unsigned>(rate_hz));
    return control_.set(rate_hz, rate_hz, false);
}

// False when the test is over.
bool K4STaesebu::goOn() {
    if (step_ == stepUnplugged) return watchUnplugged();
    if (step_ < stepPassed) return watchRate();
    show("OK");
    return false;
}

bool K4STaesebu::watchUnplugged() {
    bool locked = false;
    if (control_.lock(locked) != 0) {
        show("Cannot get AES lock status");
        return false;
    }
    if (locked)
        deadline_us_ = notHolding;
    else if (hasLasted())
        nextStep();
    return true;
}

bool K4STaesebu::watchRate() {
    int measured_hz = 0;
    int status_hz = 0;
    bool professional = false;
    bool locked = false;
    if (control_.get(measured_hz, status_hz, professional, locked) != 0) {
        show("Cannot get AES stream info");
        return false;
    }
    if (!locked || measured_hz != rateOfStep(step_) || measured_hz != status_hz)
        loseLock();
    else if (hasLasted())
        nextStep();
    return true;
}

void K4STaesebu::loseLock() {
    if (deadline_us_ != notHolding) console_ << "Lost lock\r" << KLNstream::cr;
    deadline_us_ = notHolding;
}

// The condition holds now; whether it has for long enough.
bool K4STaesebu::hasLasted() {
    const long long now_us = KLFnow();
    if (deadline_us_ == notHolding) deadline_us_ = now_us + stable_us;
    return now_us >= deadline_us_;
}

// The transmitter runs at the first rate from the beginning; when it can't be programmed for
// another one, the receiver tells.
void K4STaesebu::nextStep() {
    deadline_us_ = notHolding;
    ++step_;
    if (step_ == stepPassed) return;
    KLTastrs text;
    text << "Wait for " << rateOfStep(step_) << " Hz 'LOCK'";
    show(text.str());
    if (step_ > 1) selectRate(rateOfStep(step_));
}

// The copy gets a node of its own.
void K4STaesebu::show(const KLTastrc& text) {
    const KLTptmutexHold hold(mutex_);
    result_ = text;
}
