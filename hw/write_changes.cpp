#include "hw/write_changes.h"

namespace {

constexpr std::uint8_t unknownGrey = 0xFF;

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
    int first = -1;
    int last = -1;
    for (int x = left; x < right; ++x) {
        const auto grey = static_cast<std::uint8_t>(row[x] & CHGenericOLEDController::greyMask);
        if (grey == shown[x]) continue;
        shown[x] = grey;
        last = x;
        if (first < 0) first = x;
    }
    if (first >= 0) controller_->update(first, y, last - first + 1, 1, row + first);
}
