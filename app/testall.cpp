#include "app/testall.h"

#include "app/abort_signals.h"
#include "app/aesebu_test.h"
#include "app/audio_test.h"
#include "app/ethernet_test.h"
#include "app/frontpanel_test.h"
#include "app/parallel_test.h"
#include "app/safe_end.h"
#include "app/status_table.h"
#include "app/usb_test.h"
#include "baselib/print/nstream.h"
#include "baselib/print/print.h"
#include "baselib/thread/thread.h"
#include "hw/mainboard_cpld.h"
#include "hw/ports.h"

#include <algorithm>
#include <cstdio>
#include <unistd.h>

namespace {

constexpr long long poll_us = 1'000'000;
constexpr long long joinPoll_us = 1'000;
constexpr int joinPollsAfterSignal = 3'000; // 3 s

bool hasAesebu() {
    CHmainboardCPLD_K4 cpld;
    return cpld.detect() == 0 && cpld.id == CHmainboardCPLD_K4::idWithAesebu;
}

class SelfTest {
public:
    explicit SelfTest(int flags);
    int run();

private:
    // A row of the status table.
    struct Row {
        K4test& unit;
        const char* logLabel;
        bool polled;
    };
    struct Start {
        K4test& unit;
        bool wanted;
        const char* failure;
        int exitCode;
    };
    struct Join {
        K4test& unit;
        bool wanted;
        const char* message;
    };

    int startUnits();
    bool monitor();
    bool pollUnits();
    bool poll(const Row& row, KLTastr& text);
    bool mayDraw(bool changed) const {
        return !frontpanel_.displayHeld() && (changed || !labelsDrawn_);
    }
    bool draw();
    bool allPassed() const;
    void requestStops();
    void joinUnits();
    void waitFor(K4test& unit);
    void noteSignal(long long wait_us);
    void endWait();
    [[noreturn]] static void leave();
    void clearDisplay();

    const bool analog_;
    StatusTable table_;
    const bool aesebuFitted_ = hasAesebu();
    K4owned<K4STparallel> parallel_;
    K4owned<K4STethernet> ethernet_;
    K4owned<K4STfrontpanel> frontpanel_;
    K4owned<K4STusb> usb_;
    K4owned<K4STaudio> audio_;
    K4owned<K4STaesebu> aesebu_;
    KLTprint log_; // of status changes: on the null device
    StatusTable::Texts texts_;
    bool labelsDrawn_ = false;
    bool signalled_ = false;
    int joinPollsLeft_ = joinPollsAfterSignal; // once signalled

    // What a wait for the panel that has no end calls on the main thread.
    static inline SelfTest* waiting_ = nullptr;

    const Row rows_[StatusTable::rowCount] = {
        {parallel_, "Parallel port: ", true},   {ethernet_, "Ethernet     : ", true},
        {frontpanel_, "Frontpanel   : ", true}, {usb_, "USB          : ", true},
        {audio_, "Audio        : ", analog_},   {aesebu_, "AES/EBU      : ", true},
    };
};

SelfTest::SelfTest(int flags)
    : analog_((flags & flagNoAnalog) == 0), audio_((flags & flagNoMicBoost) == 0) {
    parallel_.init();
    ethernet_.init();
    frontpanel_.init((flags & flagNoKeypad) == 0);
    usb_.init();
    audio_.init();
}

int SelfTest::run() {
    waiting_ = this;
    portWhileWaiting([] { waiting_->endWait(); });
    if (const int exitCode = startUnits(); exitCode != 0) return exitCode;
    const bool passed = monitor();
    requestStops();
    joinUnits();
    clearDisplay();
    return passed ? exitPassed : exitAborted;
}

// After a failure the units that run already are ended by their destructors.
int SelfTest::startUnits() {
    const Start starts[] = {
        {parallel_, true, "Cannot start parallel port test, error ", exitNoParallelThread},
        {ethernet_, true, "Cannot start ethernet test, error ", exitNoEthernetThread},
        {usb_, true, "Cannot start USB test, error ", exitNoUsbThread},
        {frontpanel_, true, "Cannot start frontpanel test, error ", exitNoFrontpanelThread},
        {audio_, analog_, "Cannot start audio test, error ", exitNoAudioThread},
        {aesebu_, aesebuFitted_, "Cannot start AES test, error ", exitNoAudioThread},
    };
    for (const Start& start : starts) {
        const int error = start.wanted ? start.unit.start(true) : 0;
        if (error != 0) {
            pout << start.failure << error << KLNstream::cr;
            return start.exitCode;
        }
    }
    return 0;
}

// True: everything passed. False: the operator aborted.
bool SelfTest::monitor() {
    while (!signalled_) {
        if (mayDraw(pollUnits()) && draw()) return true;
        const bool aborted = frontpanel_.abortRequested();
        if (aborted) pout << "Frontpanel signals program abortion!" << KLNstream::cr;
        noteSignal(poll_us);
        if (aborted) return false;
    }
    return false;
}

// True when a text changed.
bool SelfTest::pollUnits() {
    bool changed = false;
    for (int i = 0; i < StatusTable::rowCount; ++i)
        changed |= poll(rows_[i], texts_[static_cast<size_t>(i)]);
    if (changed) log_ << "---------------------------------" << KLNstream::cr;
    return changed;
}

bool SelfTest::poll(const Row& row, KLTastr& text) {
    if (!row.polled || !row.unit.change(text)) return false;
    log_ << row.logLabel << text << KLNstream::cr;
    return true;
}

// True when everything that was drawn is "OK".
bool SelfTest::draw() {
    if (!labelsDrawn_) {
        // Once all units run. Ports without privilege read as absent, so that the answer
        // shows in the tests.
        portRequestPrivilege();
        table_.drawLabels(frontpanel_.display());
    }
    table_.drawTexts(frontpanel_.display(), texts_);
    frontpanel_.commit();
    if (allPassed()) return true;
    labelsDrawn_ = true;
    return false;
}

bool SelfTest::allPassed() const {
    return std::all_of(texts_.begin(), texts_.end(),
                       [](const KLTastr& text) { return text == KLTastrc("OK"); });
}

void SelfTest::requestStops() {
    parallel_.start(false);
    ethernet_.start(false);
    frontpanel_.start(false);
    usb_.start(false);
    if (analog_) audio_.start(false);
    aesebu_.start(false);
}

void SelfTest::joinUnits() {
    const Join joins[] = {
        {parallel_, true, "Wait for Parallel Port test thread to exit..."},
        {ethernet_, true, "Wait for Ethernet Ports test thread to exit..."},
        {frontpanel_, true, "Wait for Frontpanel test thread to exit..."},
        {audio_, analog_, "Wait for Audio test thread to exit..."},
        {usb_, true, "Wait for USB Ports test thread to exit..."},
        {aesebu_, true, "Wait for AES/EBU test thread to exit..."},
    };
    for (const Join& join : joins) {
        if (!join.wanted) continue;
        pout << join.message << KLNstream::cr;
        waitFor(join.unit);
        join.unit.waitend();
    }
}

// Without a time limit, unless the operator has sent a signal.
void SelfTest::waitFor(K4test& unit) {
    while (unit.running()) {
        if (signalled_ && --joinPollsLeft_ < 0) leave();
        noteSignal(joinPoll_us);
    }
}

// Waits for that long, or until the operator sends a signal. The second one does not wait for
// anything any more.
void SelfTest::noteSignal(long long wait_us) {
    if (!takeAbortSignal(wait_us)) return;
    if (signalled_) leave();
    signalled_ = true;
}

// On the main thread, in a wait for a panel that does not answer, which no picture ends: what can
// be joined is, and the rest is left.
void SelfTest::endWait() {
    noteSignal(0);
    if (!signalled_) return;
    requestStops();
    joinUnits();
    leave();
}

// The end of a run whose threads can't be joined.
void SelfTest::leave() {
    makeHardwareSafe();
    printExitCode(exitAborted);
    fflush(nullptr);
    _exit(exitAborted);
}

void SelfTest::clearDisplay() {
    frontpanel_.display().clear(0);
    frontpanel_.commit();
    frontpanel_.endLampTest();
}

} // namespace

int testAll(int flags) {
    KLFptcreatemain("PT-Main");
    guardEveryEnd();
    return SelfTest(flags).run();
}

void printExitCode(int code) { pout << "Selftest exits with code " << code << KLNstream::cr; }
