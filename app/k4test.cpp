#include "app/k4test.h"

bool K4test::change(KLTastr& current) {
    current = info();
    if (current == status_) return false;
    status_ = current;
    return true;
}
