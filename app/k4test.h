#pragma once
// The abstract test unit: what the orchestrator sees of each hardware test.

#include "baselib/text/astr.h"

#include <atomic>

// A unit runs its test body on a thread of its own and tells how far it is in one line of
// text. "OK", exactly, means passed; every other text is progress or a failure.
//
// start, waitend, info and change belong to the orchestrator's thread.
class K4test {
public:
    // run = true: starts the test; 0 on success or when it runs already, else the error
    // number of thread creation. run = false: asks a running test to stop; always 0. A test
    // that does not run is left as it is.
    virtual int start(bool run) = 0;

    // Waits until the test has ended, however long that takes. Returns at once when it
    // never ran or was waited for before.
    virtual void waitend() = 0;

    // The status text, as a copy that shares nothing with the test's thread.
    virtual KLTastr info() = 0;

    // The test was started and has not ended.
    virtual bool running() const = 0;

    // Fetches info() into current. True when it differs from the text reported last, which
    // it then replaces.
    bool change(KLTastr& current);

    // The test was asked to stop. Its body looks at this every two seconds at least.
    bool stopRequested() const { return stopRequest_.load(std::memory_order_relaxed); }

protected:
    // Units are held and destroyed as what they are, so there is no virtual destructor.
    ~K4test() = default;

    void requestStop() { stopRequest_.store(true, std::memory_order_relaxed); }

private:
    KLTastr status_;
    std::atomic<bool> stopRequest_{false};
};
