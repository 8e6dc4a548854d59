#include "app/status_table.h"

#include "grc/boxf.h"

namespace {

constexpr int rowHeight = 10;
constexpr int labelLeft = 0;
constexpr int textLeft = 70;
constexpr GRCsize textExtent{186, rowHeight};
constexpr unsigned int foreground = 15;
constexpr unsigned int background = 0;

constexpr const char* labels[StatusTable::rowCount] = {
    "ParallelPrt", "Ethernet", "Frontpanel", "USB Ports", "AnalogAudio", "AES/EBU",
};

} // namespace

StatusTable::StatusTable() {
    font_.setfont(F9x5p);
    text_.font(font_, 0);
    text_.color(foreground, background, 0);
}

void StatusTable::drawLabels(GRCdisplay& display) {
    for (int row = 0; row < rowCount; ++row)
        drawAt(display, {labelLeft, row * rowHeight}, labels[row]);
}

void StatusTable::drawTexts(GRCdisplay& display, const Texts& texts) {
    for (int row = 0; row < rowCount; ++row) {
        const GRCpoint position{textLeft, row * rowHeight};
        GRCboxF(position, textExtent, background).draw(display);
        drawAt(display, position, texts[static_cast<size_t>(row)]);
    }
}

void StatusTable::drawAt(GRCdisplay& display, GRCpoint position, const KLTastrc& characters) {
    text_.position(position);
    text_.text(characters);
    text_.draw(display);
}
