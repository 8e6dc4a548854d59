#pragma once

#include "grc/display.h"

// A filled box: extent.width x extent.height pixels from its top left corner on.
// GRCboxF({70, 10}, {186, 10}, 0).draw(display) erases a row of the status column.
class GRCboxF {
public:
    // position: top left corner; colour: grey level 0..15. Any part outside the display
    // is not drawn; an extent of zero or less draws nothing.
    GRCboxF(GRCpoint position, GRCsize extent, unsigned int colour)
        : area_{position, extent}, colour_(colour) {}

    void draw(GRCdisplay& display) const { display.fill(area_, colour_); }

private:
    GRCrect area_;
    unsigned int colour_;
};
