#pragma once
// The picture of the self-test on the OLED: six rows, a label and a status text in each.
// All knowledge of the layout is here.

#include "baselib/text/astr.h"
#include "grc/display.h"
#include "grc/font.h"
#include "grc/text.h"

#include <array>

// Draws into the display memory only; the caller transfers it to the OLED.
class StatusTable {
public:
    static constexpr int rowCount = 6;

    // The status texts in the order of the rows.
    using Texts = std::array<KLTastr, rowCount>;

    StatusTable();

    // The labels: "ParallelPrt", "Ethernet", "Frontpanel", "USB Ports", "AnalogAudio",
    // "AES/EBU".
    void drawLabels(GRCdisplay& display);

    // The status texts, each over what stood in its place before.
    void drawTexts(GRCdisplay& display, const Texts& texts);

private:
    void drawAt(GRCdisplay& display, GRCpoint position, const KLTastrc& characters);

    GRCfont font_;
    GRCtext text_;
};
