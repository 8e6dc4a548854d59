#include "grc/font.h"

const GRCglyph& GRCfont::glyph(char character) const {
    const bool isPrintable = character >= GRCfontData::first && character <= GRCfontData::last;
    const int index = (isPrintable ? character : '?') - GRCfontData::first;
    return data_->glyphs[static_cast<std::size_t>(index)];
}

long long GRCfont::width(const KLTastrc& text) const {
    long long columns = 0;
    if (!data_) return columns;
    for (int i = 0; i < text.length(); ++i)
        columns += glyph(text.text()[i]).width + gap;
    return columns;
}
