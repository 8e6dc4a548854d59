#pragma once
// Unit of the two network links.

#include "app/unit.h"

// Looks at the links of LAN (eth0) and WAN (usb0) every half second, and passes when both
// were up 20 times in a row. An interface that does not exist has no link. Sends nothing.
class K4STethernet : public K4unit<K4STethernet> {
public:
    // Before the first start.
    void init() { prepare(); }

    // "Not running"; "LAN-ok   WAN-??" as the links were seen last; "OK". Asked to stop
    // early, the links stay.
    KLTastr info() override;

    void prepare();
    void tfunc();

private:
    enum State : int { notRunning = 0, testing = 1, passed = 99 };

    std::atomic<int> state_{notRunning};
    std::atomic<int> links_{0}; // bit 0: LAN is up, bit 1: WAN
};
