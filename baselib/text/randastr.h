#pragma once
// Random texts.

#include "baselib/text/astr.h"

#include <random>

// Draws texts from an alphabet: lengths and characters are independent, and each is as
// likely as any other. Seeded from the clock, so that no two runs get the same texts.
class KLTrandastr {
public:
    // With an empty alphabet every text is empty.
    explicit KLTrandastr(const KLTastrc& alphabet);

    // A text of lengthMin to lengthMax characters, both included; 0 <= lengthMin <= lengthMax.
    // A negative length counts as 0, a lengthMax below lengthMin as lengthMin.
    KLTastr text(int lengthMin, int lengthMax);

private:
    int draw(int min, int max);

    KLTastr alphabet_;
    std::minstd_rand generator_;
};
