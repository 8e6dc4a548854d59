#include "app/usb_test.h"

#include "baselib/device/lxtermios.h"
#include "baselib/print/astrs.h"
#include "baselib/print/nstream.h"
#include "baselib/text/randastr.h"
#include "baselib/time/clock.h"

#include <algorithm>

namespace {

constexpr const char* devicePrefix = "/dev/ttyUSB";
constexpr int deviceNumbers = 10; // 0 to 9

constexpr int speed_baud = 19'200;

constexpr const char* alphabet = "0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz";
constexpr int shortestText = 50;
constexpr int longestText = 100;
constexpr int roundsNeeded = 100;

constexpr long long rescanPause_us = 2'000'000;
constexpr long long pollPause_us = 1'000;

KLTastr deviceName(int number) {
    KLTastrs name;
    name << devicePrefix << number;
    return name;
}

// The speed, and raw mode. 0, or the first result that is not.
int setLine(int fd) {
    KLTlxTermios line(KLTlxIOdev::closed);
    if (const int result = line.query(fd); result != 0) return result;
    const int bothSpeeds = KLTlxTermios::outputSpeed | KLTlxTermios::inputSpeed;
    if (const int result = line.baud(bothSpeeds, KLTlxTermios::baudToC(speed_baud)); result != 0)
        return result;
    line.setRaw();
    return line.apply(fd, TCSANOW);
}

} // namespace

KLTastr K4STusb::info() {
    // Asked first: the test passes before it ends.
    const bool runs = running();
    if (passed_.load(relaxed)) return "OK";
    if (!runs) return "Not running";
    const int missing = portCount - openCount_.load(relaxed);
    KLTastrs text;
    if (missing > 0)
        text << "Missing USBs: " << missing;
    else
        text << "In progress: " << goodRounds_.load(relaxed);
    return text;
}

void K4STusb::prepare() {
    passed_.store(false, relaxed);
    openCount_.store(0, relaxed);
    goodRounds_.store(0, relaxed);
}

void K4STusb::tfunc() {
    KLTrandastr texts{KLTastr(alphabet)};
    do {
        if (!scan()) return;
        if (openCount_.load(relaxed) < portCount)
            KLFdelay(rescanPause_us);
        else if (!playRound(texts.text(shortestText, longestText)))
            return;
    } while (!passed_.load(relaxed) && !stopRequested());
}

// False when the test can't go on.
bool K4STusb::scan() {
    int count = 0;
    for (int index = 0; index < portCount; ++index) {
        const UD& port = ports_[static_cast<size_t>(index)];
        if (!port.device.isOpen() && !openPort(index)) return false;
        if (port.device.isOpen()) ++count;
    }
    openCount_.store(count, relaxed);
    return true;
}

// Leaves the port closed when there is no adapter for it. False when one can't be set up.
bool K4STusb::openPort(int index) {
    UD& port = ports_[static_cast<size_t>(index)];
    for (int number = 0; number < deviceNumbers; ++number) {
        const KLTastr name = deviceName(number);
        if (isTaken(name) || !port.device.open(name.text())) continue;
        console_ << "USB-" << index << ": Opened " << name << KLNstream::cr;
        if (!configure(port.device)) return false;
        port.name = name;
        return true;
    }
    return true;
}

bool K4STusb::isTaken(const KLTastr& name) const {
    return std::any_of(ports_.begin(), ports_.end(),
                       [&name](const UD& port) { return port.name == name; });
}

bool K4STusb::configure(KLTlxIOdev& device) {
    if (const int error = device.blocking(true); error != 0) {
        console_ << "Cannot enable blocking mode, error " << error << KLNstream::cr;
        return false;
    }
    if (const int error = setLine(device.descriptor()); error != 0) {
        console_ << "Cannot set raw mode, error " << error << KLNstream::cr;
        return false;
    }
    return true;
}

// False when the test can't go on.
bool K4STusb::playRound(const KLTastr& text) {
    if (!send(text)) {
        console_ << "Cannot write to RS232" << KLNstream::cr;
        return false;
    }
    receive(text);
    return true;
}

bool K4STusb::send(const KLTastr& text) {
    for (UD& port : ports_)
        if (port.device.ostring(text.text()) != 0) return false;
    return true;
}

void K4STusb::receive(const KLTastr& text) {
    std::array<Reception, portCount> receptions;
    do {
        for (size_t i = 0; i < ports_.size(); ++i)
            if (!poll(ports_[i], text, receptions[i])) return closePorts();
        if (std::all_of(receptions.begin(), receptions.end(),
                        [](const Reception& reception) { return reception.complete; }))
            return countRound();
        KLFdelay(pollPause_us);
    } while (!stopRequested());
}

// Takes one byte, if there is one. False when the adapter can't be read.
bool K4STusb::poll(UD& port, const KLTastr& text, Reception& reception) {
    const int c = port.device.icharns();
    if (c == KLTioNoData) return true;
    if (c < 0) return false;
    // A text that is as long and not the same never becomes it: it need not grow on.
    if (c != '\n' && reception.text.length() < text.length()) reception.text.append(c);
    if (reception.text == text) reception.complete = true;
    return true;
}

void K4STusb::closePorts() {
    for (UD& port : ports_) {
        port.device.close();
        port.name.clr();
    }
    goodRounds_.store(0, relaxed);
}

void K4STusb::countRound() {
    const int rounds = goodRounds_.load(relaxed) + 1;
    goodRounds_.store(rounds, relaxed);
    if (rounds >= roundsNeeded) passed_.store(true, relaxed);
}
