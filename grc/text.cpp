#include "grc/text.h"

#include <algorithm>

void GRCtext::font(const GRCfont& newFont, int extraSpacing) {
    font_ = &newFont;
    extraSpacing_ = std::max(extraSpacing, 0);
}

void GRCtext::color(unsigned int foreground, unsigned int background, int transparent) {
    foreground_ = foreground;
    background_ = background;
    transparent_ = transparent != 0;
}

void GRCtext::draw(GRCdisplay& display) const {
    if (!font_ || font_->height() == 0) return;
    long long left = position_.x;
    for (int i = 0; i < text_.length() && left < display.size().width; ++i) {
        const GRCglyph& glyph = font_->glyph(text_.text()[i]);
        drawCell(display, glyph, left);
        left += advance(glyph);
    }
}

long long GRCtext::advance(const GRCglyph& glyph) const {
    return static_cast<long long>(glyph.width) + GRCfont::gap + extraSpacing_;
}

void GRCtext::drawCell(GRCdisplay& display, const GRCglyph& glyph, long long left) const {
    const long long right = std::min<long long>(left + advance(glyph), display.size().width);
    for (int row = 0; row < font_->height(); ++row) {
        const unsigned int bits = glyph.rows[static_cast<std::size_t>(row)];
        const long long y = static_cast<long long>(position_.y) + row;
        for (long long x = std::max(left, 0LL); x < right; ++x) {
            const bool isLit = x - left < glyph.width && (bits >> (x - left) & 1U);
            if (isLit || !transparent_) display.put(x, y, isLit ? foreground_ : background_);
        }
    }
}
