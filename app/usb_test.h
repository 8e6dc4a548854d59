#pragma once
// Unit of the USB serial adapters.

#include "app/unit.h"
#include "baselib/device/lxiodev.h"

#include <array>

// Opens two of /dev/ttyUSB0 to 9 at 19200 baud raw and sends random texts to both, until
// each got back what was sent 100 times in a row: the adapters are cabled to each other, or
// each to itself. Looks for missing adapters every 2 s, and again for both when one fails to
// read. Ends without passing when an adapter can't be set up or written to.
//
// A round has no time limit: after a byte that is lost or wrong the unit waits for the rest
// of that text until it is asked to stop.
class K4STusb : public K4unit<K4STusb> {
public:
    // Before the first start.
    void init() { prepare(); }

    // "OK"; "Not running", also after a test that ended without passing; "Missing USBs: 2"
    // or 1; "In progress: " and the number of good rounds.
    KLTastr info() override;

    void prepare();
    void tfunc();

private:
    static constexpr int portCount = 2;

    // An adapter: closed, or open under that name.
    struct UD {
        KLTlxIOdev device;
        KLTastr name;
    };

    // What a port has still to receive in a round.
    struct Reception {
        KLTastr text;
        bool complete = false;
    };

    bool scan();
    bool openPort(int index);
    bool isTaken(const KLTastr& name) const;
    bool configure(KLTlxIOdev& device);
    bool playRound(const KLTastr& text);
    bool send(const KLTastr& text);
    void receive(const KLTastr& text);
    bool poll(UD& port, const KLTastr& text, Reception& reception);
    void closePorts();
    void countRound();

    std::atomic<bool> passed_{false};
    std::atomic<int> openCount_{0};
    std::atomic<int> goodRounds_{0};
    std::array<UD, portCount> ports_; // of tfunc
};
