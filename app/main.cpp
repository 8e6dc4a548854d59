// Start-up: banner, command line, the operator's key, then the self-test.

#include "app/abort_signals.h"
#include "app/testall.h"
#include "baselib/params.h"
#include "baselib/print/line_out.h"
#include "baselib/print/nstream.h"
#include "baselib/print/out_handle.h"
#include "baselib/print/print.h"
#include "baselib/time/clock.h"
#include "hw/keyquery.h"

#include <cstdio>

namespace {

constexpr int keyPolls = 5;
constexpr long long keyPoll_us = 100'000;

// Each keyword only switches its setting off.
struct Settings {
    bool micBoost = true;
    bool check = true;
    bool keypad = true;
    bool analog = true;
};

void printBanner() {
    pout << "***** Vorlink K/4 selftest V" K4_VERSION ", " << __DATE__ << " *****" << KLNstream::cr;
}

// Unknown and surplus arguments neither stop nor warn, so the result is ignored.
Settings readSettings(int argc, const char** argv) {
    Settings settings;
    KLTparams(argc, argv, false)
        .parse("nomicboost%P run%P nokeypad%P noanalog%P", &settings.micBoost, &settings.check,
               &settings.keypad, &settings.analog);
    pout << "micBoost=" << settings.micBoost << " check=" << settings.check
         << " keypad=" << settings.keypad << " analog=" << settings.analog << KLNstream::cr;
    return settings;
}

// True when the tests are to begin: the operator holds a start key, or nobody can tell.
bool operatorWantsTests() {
    CHk4keyquery query;
    if (const int error = query.init(); error != 0) {
        pout << "Key querier init error " << error << KLNstream::cr;
        return true;
    }
    for (int poll = 0; poll < keyPolls; ++poll) {
        if (CHfpK4keyBuf::isStart(query.getkey())) return true;
        KLFdelay(keyPoll_us);
    }
    return false;
}

int testFlags(const Settings& settings) {
    return (settings.micBoost ? 0 : flagNoMicBoost) | (settings.keypad ? 0 : flagNoKeypad) |
           (settings.analog ? 0 : flagNoAnalog);
}

} // namespace

int main(int argc, char** argv) {
    holdAbortSignals();
    // Whoever reads the console by a pipe or in a file sees each line when it is written.
    setvbuf(stdout, nullptr, _IOLBF, 0);
    static KLTlineOut lines(devout);
    pout.output(&lines);
    printBanner();
    const Settings settings = readSettings(argc, const_cast<const char**>(argv));
    if (settings.check && !operatorWantsTests()) return 0;
    const int result = testAll(testFlags(settings));
    printExitCode(result);
    return result;
}
