#pragma once
// Unit of the AES/EBU interface.

#include "app/unit.h"
#include "baselib/mutex.h"

class K4STaesebu : public K4unit<K4STaesebu> {
public:
    ~K4STaesebu() { end(); }

    // The result text: empty until the test has begun.
    KLTastr info() override;

    // Sets the text "Not running": no test is made, and nothing passes.
    void tfunc();

private:
    KLTptmutex mutex_; // guards result_
    KLTastr result_;
};
