#pragma once
// What all test units have in common: one thread, and how it starts, stops and ends.

#include "app/k4test.h"
#include "app/pthreadt.h"
#include "baselib/fatal.h"
#include "baselib/print/line_out.h"
#include "baselib/print/out_handle.h"
#include "baselib/print/print.h"

#include <atomic>

// For the flags and counts of a unit: each stands for itself, and orders nothing else.
inline constexpr auto relaxed = std::memory_order_relaxed;

// Base of the concrete units:
//
//     class K4STthing : public K4unit<K4STthing> {
//     public:
//         KLTastr info() override;
//         void tfunc();               // the test, on the unit's thread
//         void prepare();             // optional: clears the progress before each run
//     };
//
//     K4owned<K4STthing> thing;       // a unit exists in this form only
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
    bool running() const override { return thread_.running(); }

    void prepare() {}

protected:
    K4unit() = default;
    // Deleted as something else than a K4owned, a unit could still be at work.
    ~K4unit() {
        if (thread_.attached()) KLFfatal("unit destroyed at work", __LINE__, "unit", "no K4owned");
    }

    // Ends a test that still runs, without waiting for it to notice the stop request.
    void end() {
        if (thread_.running()) {
            requestStop();
            thread_.cancel();
        }
        thread_.waitend();
    }

    // Standard output, for tfunc. A print object keeps its format from item to item, so each
    // thread has one of its own; pout is the main thread's. Lines go out whole.
    KLTlineOut lines_{devout};
    KLTprint console_{lines_};

private:
    // Only K4owned has it: it ends the test before any member of the unit goes.
    virtual void isOwned() const = 0;

    int startThread() {
        auto* unit = static_cast<Unit*>(this);
        unit->prepare();
        thread_.bind(unit, &Unit::tfunc);
        return thread_.run();
    }

    KLTpthreadT<Unit> thread_;
};

// A unit with its end: the test works on the members of the unit, so it is over before they go.
template <class Unit>
class K4owned final : public Unit {
public:
    using Unit::Unit;
    ~K4owned() { this->end(); }

private:
    void isOwned() const override {}
};
