#include "hw/keyquery.h"

int CHk4keyquery::init() {
    const int result = mainboard_.detect();
    if (result == 0) mainboard_.initSerialLink();
    return result;
}

int CHk4keyquery::getkey() {
    analyze(mainboard_.fplink->keyStatus());
    return CHfpK4keyBuf::getkey();
}
