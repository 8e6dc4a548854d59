#pragma once

#include <array>
#include <cstdint>

#include "baselib/text/astrc.h"

// One character of a font: width columns, and for each row of the cell the pixels, bit 0
// being the leftmost column.
struct GRCglyph {
    static constexpr int widthMax = 8;
    static constexpr int heightMax = 16;

    int width = 0;
    std::array<std::uint8_t, heightMax> rows{};
};

// A bitmap font: the glyphs of all printable ASCII characters.
struct GRCfontData {
    static constexpr char first = ' ';
    static constexpr char last = '~';

    // Rows of the cell, 1..GRCglyph::heightMax.
    int height = 0;
    std::array<GRCglyph, last - first + 1> glyphs{};
};

// Proportional font with a cell 9 rows high: capitals, digits and ascenders stand on row 6
// and reach up to row 0, descenders reach down to row 8. Most characters are 4 columns
// wide, so that one takes 5 with the gap behind it.
extern const GRCfontData F9x5p;

// A font as texts use it. Without font data it has no glyphs and every text is empty.
class GRCfont {
public:
    // Blank columns between two characters.
    static constexpr int gap = 1;

    // Selects the font data, which must outlive the font.
    void setfont(const GRCfontData& newData) { data_ = &newData; }

    // Height of the character cell in rows; 0 without font data.
    int height() const { return data_ ? data_->height : 0; }

    // The glyph of a character; a character that is not printable ASCII looks like '?'.
    // Only with font data, that is when height() is not 0.
    const GRCglyph& glyph(char character) const;

    // Columns that a text takes, each character with the gap behind it.
    long long width(const KLTastrc& text) const;

private:
    const GRCfontData* data_ = nullptr;
};
