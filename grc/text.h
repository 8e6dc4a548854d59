#pragma once

#include "baselib/text/astr.h"
#include "grc/display.h"
#include "grc/font.h"

// A line of text at a position of the display. One object may be repositioned and
// re-texted for any number of strings:
//
//     GRCfont font;
//     font.setfont(F9x5p);
//     GRCtext text;
//     text.font(font, 0);
//     text.color(15, 0, 0);
//     text.position({70, 10});
//     text.text("OK");
//     text.draw(display);
//
// Without a font nothing is drawn.
class GRCtext {
public:
    // Selects the font, which must outlive the text, and the number of blank columns
    // between characters beyond the font's own gap (0: as the font was drawn; negative
    // values count as 0).
    void font(const GRCfont& newFont, int extraSpacing);

    // foreground, background: grey levels 0..15. transparent: 0 paints the background of
    // every character cell, gaps included; any other value leaves the pixels between the
    // strokes as they are.
    void color(unsigned int foreground, unsigned int background, int transparent);

    // The top left corner of the first character's cell; default (0, 0).
    void position(GRCpoint topLeft) { position_ = topLeft; }

    // The characters to draw, as a copy.
    void text(const KLTastrc& characters) { text_ = characters; }

    // Draws the text; what lies outside the display is left out.
    void draw(GRCdisplay& display) const;

private:
    long long advance(const GRCglyph& glyph) const;
    void drawStrokes(GRCdisplay& display, const GRCglyph& glyph, long long left) const;
    void drawCell(GRCdisplay& display, const GRCglyph& glyph, long long left) const;

    const GRCfont* font_ = nullptr;
    int extraSpacing_ = 0;
    unsigned int foreground_ = 15;
    unsigned int background_ = 0;
    bool transparent_ = false;
    GRCpoint position_;
    KLTastr text_;
};
