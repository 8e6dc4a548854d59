#pragma once

#include "baselib/bittester.h"
#include "hw/ports.h"

// The parallel control port, with a loopback from its outputs to its inputs, as registers
// of the mainboard CPLD:
//
// base + 0    read: CPLD identification
// base + 1    read: CPLD version
// base + 2    written: the 8 output lines
// base + 3    read: the 8 input lines
//
// Every byte read or written goes to the diagnostic port 0x80 as well: the access delays
// the next one, and the byte shows on a diagnostic card.
class K4parallel : public KLTbitTester {
public:
    // Asks for I/O privilege for the calling thread, which alone may use the object. Without
    // privilege every register reads `portAbsent`, and nothing is written.
    explicit K4parallel(int base);

    // Puts the low byte of value on the output lines, gives them 10 ms to settle, reads the
    // input lines twice and returns the second reading. A cancellation point.
    unsigned long outNin(unsigned long value) override;

    // The byte at base + offset.
    [[nodiscard]] unsigned char readReg(int offset) const;

private:
    const PortBlock ports_;
};
