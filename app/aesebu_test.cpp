#include "app/aesebu_test.h"

KLTastr K4STaesebu::info() {
    const KLTptmutexHold hold(mutex_);
    // As a view, so that the copy gets a node of its own: shared ones belong to one thread.
    return KLTastr(static_cast<const KLTastrc&>(result_));
}

void K4STaesebu::tfunc() {
    const KLTptmutexHold hold(mutex_);
    result_ = "Not running";
}
