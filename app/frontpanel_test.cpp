#include "app/frontpanel_test.h"

#include "audio/beep.h"
#include "baselib/print/nstream.h"
#include "baselib/time/clock.h"

namespace {

constexpr int noSharedMemory = 0;
constexpr int modePicture = 1;
constexpr int modeAllPixels = 2;

constexpr int beep_hz = 500;
constexpr int keyBeep_ms = 100;
constexpr int alarmBeep_ms = 1'000;
constexpr long long keyPoll_us = 100'000;
constexpr long long commitPatience_us = 500'000; // the longest access takes a tenth of that
constexpr long long alarmPause_us = 1'000'000;

bool isPress(int event) { return event >= 0 && (event & CHfpK4keyBuf::released) == 0; }

} // namespace

void K4STfrontpanel::init(bool keypad) {
    keys_.require(keypad);
    passed_.store(false, relaxed);
    panelOk_.store(false, relaxed);
    beeperOk_.store(false, relaxed);
    displayHeld_.store(true, relaxed);
    abortRequest_.store(false, relaxed);
    startKeyPending_ = true;
    escapePressed_ = false;
}

KLTastr K4STfrontpanel::info() {
    if (passed_.load(relaxed)) return "OK";
    if (!running()) return "Not running";
    if (!panelOk_.load(relaxed)) return "FP init error";
    if (!beeperOk_.load(relaxed)) return "Beeper init error";
    return keys_.allSeen() ? KLTastr("OK") : keys_.text();
}

void K4STfrontpanel::commit() {
    if (!mutex_.lock(commitPatience_us)) return;
    if (panel_.writer) panel_.writer->commitFrom(panel_.display, true);
    mutex_.release();
}

void K4STfrontpanel::tfunc() {
    KLTlinuxBeep beeper;
    const int error = initPanel();
    beeperOk_.store(beeper.opendev(nullptr) == 0, relaxed);
    if (panelOk_.load(relaxed) && beeperOk_.load(relaxed))
        watchKeys(beeper);
    else
        soundAlarm(beeper, error);
    beeper.closedev();
}

int K4STfrontpanel::initPanel() {
    const KLTptmutexHold hold(mutex_);
    const int error = panel_.init(noSharedMemory);
    if (error != 0)
        console_ << "Frontpanel init error " << error << KLNstream::cr;
    else
        panel_.dispMode(modeAllPixels);
    panelOk_.store(error == 0, relaxed);
    return error;
}

void K4STfrontpanel::watchKeys(KLTlinuxBeep& beeper) {
    for (;;) {
        const int event = readKey();
        if (!isIgnored(event) && isPress(event)) acceptPress(event, beeper);
        if (stopRequested()) return;
        KLFdelay(keyPoll_us);
    }
}

void K4STfrontpanel::soundAlarm(KLTlinuxBeep& beeper, int error) {
    console_ << "FP init error " << error << KLNstream::cr;
    while (!stopRequested()) {
        beeper.beep(beep_hz, alarmBeep_ms, true);
        KLFdelay(alarmPause_us);
    }
}

int K4STfrontpanel::readKey() {
    const KLTptmutexHold hold(mutex_);
    return panel_.kbdGetkey();
}

// The start key counts as ignored once, whenever its press comes.
bool K4STfrontpanel::isIgnored(int event) {
    if (!startKeyPending_ || !CHfpK4keyBuf::isStart(event)) return false;
    startKeyPending_ = false;
    return true;
}

void K4STfrontpanel::acceptPress(int code, KLTlinuxBeep& beeper) {
    console_ << "Key " << code << KLNstream::cr;
    beeper.beep(beep_hz, keyBeep_ms, false);
    watchForAbort(code);
    keys_.accept(code);
    endLampTest();
}

void K4STfrontpanel::watchForAbort(int code) {
    const bool isEscape = code == CHfpK4keyBuf::codeEscape;
    if (isEscape && escapePressed_) abortRequest_.store(true, relaxed);
    escapePressed_ = isEscape;
}

void K4STfrontpanel::endLampTest() {
    if (!displayHeld()) return;
    const KLTptmutexHold hold(mutex_);
    panel_.dispMode(modePicture);
    displayHeld_.store(false, std::memory_order_release);
}
