#pragma once
// Unit of the two network links.

#include "app/unit.h"

class K4STethernet : public K4unit<K4STethernet> {
public:
    ~K4STethernet() { end(); }

    // Before the first start.
    void init() {}

    // "Not running".
    KLTastr info() override;

    // Returns at once: no test is made, and nothing passes.
    void tfunc() {}
};
