#include "baselib/print/mprint.h"

KLTmprint::KLTmprint() : own_(std::make_unique<KLTmultiout>()), fanOut_(own_.get()) {
    output(fanOut_);
}

KLTmprint::KLTmprint(KLTmultiout& fanOut) : KLTprint(fanOut), fanOut_(&fanOut) {}

void KLTmprint::setMultiout(KLTmultiout& fanOut) {
    fanOut_ = &fanOut;
    output(fanOut_);
    if (own_.get() != fanOut_) own_.reset();
}
