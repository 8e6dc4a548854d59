#include "grc/hwgeneric.h"

void GRChwgeneric::commitFrom(GRCdisplay& display, bool changedOnly) {
    const GRCrect area = changedOnly ? display.changed() : display.area();
    if (!area.empty()) transfer(display, area);
    display.committed();
}
