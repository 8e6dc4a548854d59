#include "grc/display.h"

#include <algorithm>

namespace {

bool isValid(int extent) { return extent >= 1 && extent <= GRCdisplay::extentMax; }

std::size_t words(GRCsize size) {
    return static_cast<std::size_t>(size.width) * static_cast<std::size_t>(size.height);
}

} // namespace

void GRCdisplay::init(int width, int height, unsigned int* memory) {
    size_ = isValid(width) && isValid(height) ? GRCsize{width, height} : GRCsize{};
    ownMemory_.assign(memory ? 0 : words(size_), 0);
    pixels_ = memory ? memory : ownMemory_.data();
    changed_ = area();
}

void GRCdisplay::clear(unsigned int grey) { fill(area(), grey); }

void GRCdisplay::put(long long x, long long y, unsigned int grey) {
    if (contains(x, y)) fill({{static_cast<int>(x), static_cast<int>(y)}, {1, 1}}, grey);
}

void GRCdisplay::fill(const GRCrect& wanted, unsigned int grey) {
    const GRCrect visible = intersection(wanted, area());
    if (visible.empty()) return;
    unsigned int* line = edit(visible);
    for (int left = visible.extent.height; left > 0; --left, line += size_.width)
        std::fill_n(line, visible.extent.width, grey & GRCgreyMask);
}

unsigned int* GRCdisplay::edit(const GRCrect& area) {
    changed_ = bounding(changed_, area);
    return pixels_ + rowStart(area.position.y) + area.position.x;
}

unsigned int GRCdisplay::grey(int x, int y) const {
    return contains(x, y) ? row(y)[x] & GRCgreyMask : 0;
}

const unsigned int* GRCdisplay::row(int y) const { return pixels_ + rowStart(y); }

bool GRCdisplay::contains(long long x, long long y) const {
    return x >= 0 && y >= 0 && x < size_.width && y < size_.height;
}

std::size_t GRCdisplay::rowStart(int y) const {
    return static_cast<std::size_t>(y) * static_cast<std::size_t>(size_.width);
}
