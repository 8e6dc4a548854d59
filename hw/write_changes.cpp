#include "hw/write_changes.h"

#include <cstring>

namespace {

constexpr std::uint8_t unknownGrey = 0xFF;
constexpr int pixelsAtOnce = 4;

std::uint8_t greyOf(unsigned int pixel) { return static_cast<std::uint8_t>(pixel & GRCgreyMask); }

// Where a span first differs from what is shown, right if it does not. Most do not: four pixels
// are compared at once.
int firstChange(const unsigned int* row, const std::uint8_t* shown, int left, int right) {
    int x = left;
    for (; right - x >= pixelsAtOnce; x += pixelsAtOnce) {
        const unsigned int greys = (row[x] & GRCgreyMask) | (row[x + 1] & GRCgreyMask) << 8 |
                                   (row[x + 2] & GRCgreyMask) << 16 |
                                   (row[x + 3] & GRCgreyMask) << 24;
        unsigned int shownGreys;
        std::memcpy(&shownGreys, shown + x, sizeof shownGreys);
        if (greys != shownGreys) break;
    }
    while (x < right && greyOf(row[x]) == shown[x])
        ++x;
    return x;
}

} // namespace

void CHgenericWriteChanges::attach(CHGenericOLEDController& newController) {
    controller_ = &newController;
    const GRCsize size = controller_->displaySize();
    shadow_.assign(static_cast<std::size_t>(size.width * size.height), unknownGrey);
}

void CHgenericWriteChanges::transfer(const GRCdisplay& display, const GRCrect& area) {
    if (!controller_ || !(display.size() == controller_->displaySize())) return;
    const auto [left, top] = area.position;
    for (int y = top; y < top + area.extent.height; ++y)
        transferSpan(display.row(y), y, left, left + area.extent.width);
}

void CHgenericWriteChanges::transferSpan(const unsigned int* row, int y, int left, int right) {
    std::uint8_t* const shown =
        &shadow_[static_cast<std::size_t>(y * controller_->displaySize().width)];
    const int first = firstChange(row, shown, left, right);
    if (first == right) return;
    int last = first;
    for (int x = first; x < right; ++x) {
        const std::uint8_t grey = greyOf(row[x]);
        if (grey != shown[x]) last = x;
        shown[x] = grey;
    }
    controller_->update(first, y, last - first + 1, 1, row + first);
}
