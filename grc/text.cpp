#include "grc/text.h"

#include <algorithm>

void GRCtext::font(const GRCfont& newFont, int extraSpacing) {
    font_ = &newFont;
    extraSpacing_ = std::max(extraSpacing, 0);
}

void GRCtext::color(unsigned int foreground, unsigned int background, int transparent) {
    foreground_ = foreground & GRCgreyMask;
    background_ = background & GRCgreyMask;
    transparent_ = transparent != 0;
}

void GRCtext::draw(GRCdisplay& display) const {
    if (!font_ || font_->height() == 0) return;
    long long left = position_.x;
    for (int i = 0; i < text_.length() && left < display.size().width; ++i) {
        const GRCglyph& glyph = font_->glyph(text_.text()[i]);
        if (transparent_)
            drawStrokes(display, glyph, left);
        else
            drawCell(display, glyph, left);
        left += advance(glyph);
    }
}

long long GRCtext::advance(const GRCglyph& glyph) const {
    return static_cast<long long>(glyph.width) + GRCfont::gap + extraSpacing_;
}

void GRCtext::drawStrokes(GRCdisplay& display, const GRCglyph& glyph, long long left) const {
    for (int row = 0; row < font_->height(); ++row)
        for (int column = 0; column < glyph.width; ++column)
            if (glyph.rows[static_cast<std::size_t>(row)] >> column & 1U)
                display.put(left + column, static_cast<long long>(position_.y) + row, foreground_);
}

// Clips the cell once, not each pixel.
void GRCtext::drawCell(GRCdisplay& display, const GRCglyph& glyph, long long left) const {
    const auto first = static_cast<int>(std::max(left, 0LL));
    const auto end =
        static_cast<int>(std::min<long long>(left + advance(glyph), display.size().width));
    const GRCrect cell =
        intersection({{first, position_.y}, {end - first, font_->height()}}, display.area());
    if (cell.empty()) return;
    const auto hidden = std::min<long long>(first - left, GRCglyph::widthMax);
    unsigned int* line = display.edit(cell);
    for (int y = 0; y < cell.extent.height; ++y, line += display.size().width) {
        const auto row = static_cast<std::size_t>(cell.position.y - position_.y + y);
        unsigned int bits = glyph.rows[row] >> hidden;
        for (int x = 0; x < cell.extent.width; ++x, bits >>= 1)
            line[x] = bits & 1U ? foreground_ : background_;
    }
}
