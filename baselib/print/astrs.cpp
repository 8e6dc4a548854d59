#include "baselib/print/astrs.h"

int KLTastrdevext::ochar(int c) {
    text_.append(c, 1);
    return 1;
}

int KLTastrdevext::ostring(const char* text) {
    text_.append(KLTastrc(text));
    return 0;
}
