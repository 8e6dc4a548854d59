#include "hw/keyquery.h"

int CHk4keyquery::init() {
    const int result = mainboard.detect();
    if (result == 0) mainboard.initSerialLink();
    return result;
}

int CHk4keyquery::getkey() {
    analyze(mainboard.fplink->keyStatus());
    return CHfpK4keyBuf::getkey();
}
