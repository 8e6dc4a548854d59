#pragma once
// A print object on several sinks.

#include "baselib/print/multiout.h"
#include "baselib/print/print.h"

#include <memory>

class KLTmprint : public KLTprint {
public:
    // With a fan-out of its own.
    KLTmprint();
    // With one that stays the caller's.
    explicit KLTmprint(KLTmultiout& fanOut);

    // From now on with another fan-out, the caller's. An own one goes.
    void setMultiout(KLTmultiout& fanOut);

    void add(KLTout& sink) { fanOut_->add(sink); }
    void remove(KLTout& sink) { fanOut_->remove(sink); }
    void removeall() { fanOut_->removeall(); }
    bool find(const KLTout& sink) const { return fanOut_->find(sink); }
    bool off() const { return fanOut_->off(); }

private:
    std::unique_ptr<KLTmultiout> own_;
    KLTmultiout* fanOut_;
};
