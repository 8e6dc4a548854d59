#pragma once

#include "grc/display.h"

// The hardware behind a display: transfers drawn pixels to it.
class GRChwgeneric {
public:
    virtual ~GRChwgeneric() = default;

    // Brings the display's pixels to the hardware: with changedOnly those of the area
    // drawn on since the last transfer, else all. The changed area is empty afterwards.
    void commitFrom(GRCdisplay& display, bool changedOnly);

protected:
    // Transfers the pixels of an area, which lies on the display and is not empty.
    virtual void transfer(const GRCdisplay& display, const GRCrect& area) = 0;
};
