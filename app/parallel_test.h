#pragma once
// Unit of the parallel control port.

#include "app/unit.h"

class K4STparallel : public K4unit<K4STparallel> {
public:
    ~K4STparallel() { end(); }

    // Before the first start.
    void init() {}

    // "Not running".
    KLTastr info() override;

    // Returns at once: no test is made, and nothing passes.
    void tfunc() {}
};
