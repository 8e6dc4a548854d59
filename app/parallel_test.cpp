#include "app/parallel_test.h"

#include "baselib/print/astrs.h"
#include "baselib/time/clock.h"
#include "hw/k4parallel.h"

namespace {

constexpr int cpldBase = 0xD000;
constexpr int identification = 0; // registers
constexpr int version = 1;

constexpr int lines = 8;
constexpr int passesNeeded = 10;
constexpr long long pause_us = 100'000;

// The CPLDs whose lines are where this test looks for them.
struct KnownCpld {
    int id;
    int firstVersion;
    int lastVersion;
};
constexpr KnownCpld knownCplds[] = {{1, 3, 239}, {2, 1, 239}};

bool isKnown(int id, int ver) {
    for (const KnownCpld& known : knownCplds)
        if (id == known.id && ver >= known.firstVersion && ver <= known.lastVersion) return true;
    return false;
}

} // namespace

KLTastr K4STparallel::info() {
    const int state = state_.load(relaxed);
    if (state == notRunning) return "Not running";
    if (state == passed) return "OK";
    const KLTptmutexHold hold(mutex_);
    KLTastrs text;
    text << (state_.load(relaxed) == cpldRejected ? "CPLDerr: " : "Bit status: ") << result_;
    return text;
}

void K4STparallel::prepare() {
    const KLTptmutexHold hold(mutex_);
    state_.store(notRunning, relaxed);
    result_.clr();
}

void K4STparallel::tfunc() {
    state_.store(testing, relaxed);
    K4parallel port(cpldBase);
    if (!checkCpld(port)) return;
    int passes = 0;
    do {
        passes = port.test(lines) ? passes + 1 : 0;
        if (passes == passesNeeded) {
            state_.store(passed, relaxed);
            return;
        }
        {
            const KLTptmutexHold hold(mutex_);
            result_ = port.bitMap();
        }
        KLFdelay(pause_us);
    } while (!stopRequested());
}

bool K4STparallel::checkCpld(const K4parallel& port) {
    const int id = port.readReg(identification);
    const int ver = port.readReg(version);
    if (isKnown(id, ver)) return true;
    KLTastrs text;
    text << "ID=" << id << " VER=" << ver;
    const KLTptmutexHold hold(mutex_);
    result_ = text;
    state_.store(cpldRejected, relaxed);
    return false;
}
