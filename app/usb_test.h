#pragma once
// Unit of the USB serial adapters.

#include "app/unit.h"

class K4STusb : public K4unit<K4STusb> {
public:
    ~K4STusb() { end(); }

    // Before the first start.
    void init() {}

    // "Not running".
    KLTastr info() override;

    // Returns at once: no test is made, and nothing passes.
    void tfunc() {}
};
