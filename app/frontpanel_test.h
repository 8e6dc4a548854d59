#pragma once
// Unit of the front panel: the operator presses every key and turns every knob.

#include "app/required_keys.h"
#include "app/unit.h"
#include "baselib/thread/mutex.h"
#include "hw/frontpanel.h"

class KLTlinuxBeep;

// Lights every pixel until the first key, beeps and prints "Key " and the code for each
// press, and ends when it is asked to stop. Esc twice in a row asks for the end of the
// whole self-test. The first press of M or 7 is ignored: the operator held that key at the
// start to let the tests begin.
//
// When the panel or the beeper fails, it sounds an alarm once a second instead.
class K4STfrontpanel : public K4unit<K4STfrontpanel> {
public:
    // Before the first start. keypad: the numeric keypad is to be tested too.
    void init(bool keypad);

    // "OK", "Not running", "FP init error", "Beeper init error" or the missing keys
    // (RequiredKeys::text).
    KLTastr info() override;

    // Lets info() say "OK" whatever is missing.
    void pass() { passed_.store(true, std::memory_order_relaxed); }

    // The lamp test shows on the display: draw nothing.
    bool displayHeld() const { return displayHeld_.load(std::memory_order_acquire); }

    // The operator wants the self-test to end. Stays set.
    bool abortRequested() const { return abortRequest_.load(std::memory_order_relaxed); }

    // To draw on while the display is not held.
    GRCdisplay& display() { return panel_.display; }

    // Brings what was drawn to the OLED. Nothing without an OLED, and nothing while the unit's
    // own thread waits for a panel that does not answer: then the next call brings it.
    void commit();

    // Shows the picture instead of all pixels lit, unless it is shown already.
    void endLampTest();

    void tfunc();

private:
    int initPanel();
    void watchKeys(KLTlinuxBeep& beeper);
    void soundAlarm(KLTlinuxBeep& beeper, int error);
    int readKey();
    bool isIgnored(int event);
    void acceptPress(int code, KLTlinuxBeep& beeper);
    void watchForAbort(int code);

    RequiredKeys keys_;
    std::atomic<bool> passed_{false};
    std::atomic<bool> panelOk_{false};
    std::atomic<bool> beeperOk_{false};
    // Hands the display over to the drawing thread: released and acquired, so that the
    // thread finds the display as it was initialised.
    std::atomic<bool> displayHeld_{true};
    std::atomic<bool> abortRequest_{false};
    bool startKeyPending_ = true; // of tfunc
    bool escapePressed_ = false;  // of tfunc
    KLTptmutex mutex_;            // guards panel_
    CHfrontpanelK4 panel_;
};
