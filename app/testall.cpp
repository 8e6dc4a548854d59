#include "app/testall.h"

#include "app/aesebu_test.h"
#include "app/audio_test.h"
#include "app/ethernet_test.h"
#include "app/frontpanel_test.h"
#include "app/parallel_test.h"
#include "app/status_table.h"
#include "app/usb_test.h"
#include "baselib/print/nstream.h"
#include "baselib/print/print.h"
#include "baselib/thread/thread.h"
#include "baselib/time/clock.h"
#include "hw/mainboard_cpld.h"
#include "hw/ports.h"

#include <algorithm>

namespace {

constexpr int cpldIdWithAesebu = 2;
constexpr long long poll_us = 1'000'000;

bool hasAesebu() {
    CHmainboardCPLD_K4 cpld;
    return cpld.detect() == 0 && cpld.id == cpldIdWithAesebu;
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
        const char* name;
        int exitCode;
    };
    struct Join {
        K4test& unit;
        bool wanted;
        const char* name;
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
    void clearDisplay();

    const bool analog_;
    StatusTable table_;
    const bool aesebuFitted_ = hasAesebu();
    K4STparallel parallel_;
    K4STethernet ethernet_;
    K4STfrontpanel frontpanel_;
    K4STusb usb_;
    K4STaudio audio_;
    K4STaesebu aesebu_;
    KLTprint log_; // of status changes: on the null device
    StatusTable::Texts texts_;
    bool labelsDrawn_ = false;

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
        {parallel_, true, "parallel port", exitNoParallelThread},
        {ethernet_, true, "ethernet", exitNoEthernetThread},
        {usb_, true, "USB", exitNoUsbThread},
        {frontpanel_, true, "frontpanel", exitNoFrontpanelThread},
        {audio_, analog_, "audio", exitNoAudioThread},
        {aesebu_, aesebuFitted_, "AES", exitNoAudioThread},
    };
    for (const Start& start : starts) {
        const int error = start.wanted ? start.unit.start(true) : 0;
        if (error != 0) {
            pout << "Cannot start " << start.name << " test, error " << error << KLNstream::cr;
            return start.exitCode;
        }
    }
    return 0;
}

// True: everything passed. False: the operator aborted.
bool SelfTest::monitor() {
    for (;;) {
        if (mayDraw(pollUnits()) && draw()) return true;
        const bool aborted = frontpanel_.abortRequested();
        if (aborted) pout << "Frontpanel signals program abortion!" << KLNstream::cr;
        KLFdelay(poll_us);
        if (aborted) return false;
    }
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
        {parallel_, true, "Parallel Port"}, {ethernet_, true, "Ethernet Ports"},
        {frontpanel_, true, "Frontpanel"},  {audio_, analog_, "Audio"},
        {usb_, true, "USB Ports"},          {aesebu_, true, "AES/EBU"},
    };
    for (const Join& join : joins) {
        if (!join.wanted) continue;
        pout << "Wait for " << join.name << " test thread to exit..." << KLNstream::cr;
        join.unit.waitend();
    }
}

void SelfTest::clearDisplay() {
    frontpanel_.display().clear(0);
    frontpanel_.commit();
}

} // namespace

int testAll(int flags) {
    KLFptcreatemain("PT-Main");
    return SelfTest(flags).run();
}
