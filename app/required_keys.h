#pragma once
// The keys and knob movements that the operator still has to make.

#include "baselib/text/astr.h"

#include <atomic>
#include <cstdint>

// One thread accepts keys while another reads the texts.
class RequiredKeys {
public:
    // With keypad: all 22 key codes. Without: both knobs, turned either way and pushed, and
    // Esc.
    void require(bool keypad);

    // A key was pressed. Codes that are not required, or unknown, change nothing.
    void accept(int code);

    bool allSeen() const { return missing() == 0; }

    // With keypad, the characters of the missing keys in the order of their codes, such as
    // "37#H". Without, "Missing " and their names, a blank behind each: "Missing Ml Esc ".
    KLTastr text() const;

private:
    uint32_t missing() const { return missing_.load(std::memory_order_relaxed); }

    bool keypad_ = false;
    std::atomic<uint32_t> missing_{0}; // bit n: key code n
};
