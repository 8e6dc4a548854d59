#pragma once
// The AES/EBU receiver and transmitter of the device, "hw:0,1", through its control elements.

#include "audio/alsa_ctl.h"

// Every operation opens the card itself, and closes it again where nothing else is said; only
// init works on what is open. Results are 0 or -1. Nothing is printed. Used by one thread.
//
// An element that can't be read reads as 0. Rates are in Hz.
class KLkestraALSActl : public KLlinuxALSActl {
public:
    using KLlinuxALSActl::get;
    using KLlinuxALSActl::set;

    // The receiver: whether it is locked, the rate that it measures (0: none) and the rate
    // and format that the received channel status names. What the hardware does not say
    // leaves the variable as it was: a measured rate besides 0, 32000, 44100, 48000, 88200 and
    // 96000, a status rate besides 32000, 44100 and 48000, and both of the status when it
    // can't be read. -1: the card can't be opened, and everything is as it was.
    int get(int& measuredRate, int& statusRate, bool& professional, bool& locked);

    // Whether the receiver is locked. -1: the card can't be opened.
    int lock(bool& locked);

    // The indication that the lock changed; reset: clears it by writing it back. -1: the card
    // can't be opened.
    int lock_change(unsigned int& value, bool reset);

    // Programs the transmitter: professional channel status that names statusRate (nothing
    // besides 32000, 44100, 48000), and the clock of clockRate: 32000, 44100, 48000, 88200 or
    // 96000, or 0 for the rate that the receiver measures. flag: the lowest bit of the rate
    // code.
    //
    // -1: the card can't be opened, an element refuses, or there is nothing to program (no
    // flag, statusRate 0), in which case the card stays open. Where the default channel status
    // can't be written at all (writeIgnored), that is taken for success and nothing else is
    // written.
    int set(int statusRate, int clockRate, bool flag);

    // Switches transmitter and receiver on, on the card that is open. -1: an element refuses,
    // or none is open; then the card is closed.
    int init();

private:
    int receiverStatus();
    int program(int statusRate, int clockRate, bool flag);
    int switchOn();
    int writeInteger(const char* name, int value);
    int writeByte(const char* name, unsigned char value);
};
