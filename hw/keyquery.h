#pragma once

#include "hw/keypad.h"
#include "hw/mainboard_cpld.h"

// Reads the keys of the front panel without its display: finds the mainboard CPLD and the
// link by itself, for the wait for a key at start-up. The encoder modulus stays 16.
class CHk4keyquery : public CHfpK4keyBuf {
public:
    // Detects the CPLD and opens its link. Returns 0, or -49999 without I/O privilege. A
    // CPLD that is absent is no error; its fake link gives the status word 0, in which the
    // sixteen active-low keys read as pressed.
    [[nodiscard]] int init();

    // Reads the keys and returns the oldest key event, or -1 (see CHfpK4keyBuf).
    int getkey();

private:
    CHmainboardCPLD_K4 mainboard_;
};
