#pragma once
// What all test units have in common: one thread, and how it starts, stops and ends.

#include "app/k4test.h"
#include "app/pthreadt.h"
#include "baselib/print/out_handle.h"
#include "baselib/print/print.h"

// Base of the concrete units:
//
//     class K4STthing : public K4unit<K4STthing> {
//     public:
//         ~K4STthing() { end(); }     // always, and first
//         KLTastr info() override;
//         void tfunc();               // the test, on the unit's thread
//         void prepare();             // optional: clears the progress before each run
//     };
//
// tfunc may be cancelled at any cancellation point (sleeping, console output, files). What
// it holds then is released by destructors.
template <class Unit>
class K4unit : public K4test {
public:
    int start(bool run) override {
        if (thread_.running()) {
            if (!run) requestStop();
            return 0;
        }
        return run ? startThread() : 0;
    }

    void waitend() override { thread_.waitend(); }

    void prepare() {}

protected:
    K4unit() = default;
    ~K4unit() = default;

    // The test runs.
    bool running() const { return thread_.running(); }

    // Ends a test that still runs, without waiting for it to notice the stop request. The
    // unit's destructor calls this before any member goes, since the test works on them.
    void end() {
        if (thread_.running()) {
            requestStop();
            thread_.cancel();
        }
        thread_.waitend();
    }

    // Standard output, for tfunc. A print object keeps its format from item to item, so each
    // thread has one of its own; pout is the main thread's.
    KLTprint console_{devout};

private:
    int startThread() {
        auto* unit = static_cast<Unit*>(this);
        unit->prepare();
        thread_.bind(unit, &Unit::tfunc);
        return thread_.run();
    }

    KLTpthreadT<Unit> thread_;
};
