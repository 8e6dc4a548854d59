#include "app/ethernet_test.h"

#include "baselib/device/netstat.h"
#include "baselib/print/astrs.h"
#include "baselib/time/clock.h"

namespace {

constexpr const char* lanName = "eth0";
constexpr const char* wanName = "usb0";
constexpr int lanUp = 1;
constexpr int wanUp = 2;
constexpr int bothUp = lanUp | wanUp;

constexpr int readingsNeeded = 20;
constexpr long long lookPause_us = 500'000;

int linkBit(const char* name, int bit) {
    return KLTlinuxNetstat3::linkUp(name) >= KLTlinuxNetstat3::linkIsUp ? bit : 0;
}

// LAN is asked first.
int readLinks() {
    const int lan = linkBit(lanName, lanUp);
    return lan | linkBit(wanName, wanUp);
}

const char* verdict(bool up) { return up ? "-ok" : "-??"; }

} // namespace

KLTastr K4STethernet::info() {
    const int state = state_.load(relaxed);
    if (state == notRunning) return "Not running";
    if (state == passed) return "OK";
    const int links = links_.load(relaxed);
    KLTastrs text;
    text << "LAN" << verdict((links & lanUp) != 0) << "   WAN" << verdict((links & wanUp) != 0);
    return text;
}

void K4STethernet::prepare() {
    state_.store(notRunning, relaxed);
    links_.store(0, relaxed);
}

void K4STethernet::tfunc() {
    state_.store(testing, relaxed);
    int readings = 0;
    do {
        const int links = readLinks();
        links_.store(links, relaxed);
        readings = links == bothUp ? readings + 1 : 0;
        if (readings == readingsNeeded) {
            state_.store(passed, relaxed);
            return;
        }
        KLFdelay(lookPause_us);
    } while (!stopRequested());
}
