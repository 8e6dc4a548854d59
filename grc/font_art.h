#pragma once

#include <span>
#include <string_view>

#include "grc/font.h"

// Reads a font from pictures in text form, at compile time.
//
// The art consists of bands. The first line of a band names its characters, separated by
// blanks; as many lines as the font is high follow, each with one piece a character, of '#'
// for a lit pixel and '.' for a dark one. All pieces of a character have the same width.
// The characters come in the order of their codes, from '!' to '~'; the blank has no
// picture, only a width. Empty lines are skipped.

// Takes the next line off the text, without its line end.
constexpr std::string_view takeLine(std::string_view& text) {
    const auto end = text.find('\n');
    const std::string_view line = text.substr(0, end);
    text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
    return line;
}

// Takes the next piece between blanks off the line; an empty one when none is left.
constexpr std::string_view takePiece(std::string_view& line) {
    while (!line.empty() && line.front() == ' ')
        line.remove_prefix(1);
    const std::string_view piece = line.substr(0, line.find(' '));
    line.remove_prefix(piece.size());
    return piece;
}

// The number of characters that a heading names, when they follow each other from the
// given one on; else 0.
constexpr int countHeading(std::string_view line, int character) {
    int count = 0;
    for (auto piece = takePiece(line); !piece.empty(); piece = takePiece(line)) {
        if (piece.size() != 1 || piece.front() != character + count) return 0;
        ++count;
    }
    return count;
}

// Reads one row of one glyph; row 0 sets the glyph's width.
constexpr bool readPiece(std::string_view piece, int row, GRCglyph& glyph) {
    const int width = static_cast<int>(piece.size());
    if (row == 0) glyph.width = width;
    if (width < 1 || width > GRCglyph::widthMax || width != glyph.width) return false;
    for (int column = 0; column < width; ++column) {
        const char pixel = piece[static_cast<std::size_t>(column)];
        if (pixel != '#' && pixel != '.') return false;
        if (pixel == '#')
            glyph.rows[static_cast<std::size_t>(row)] |= static_cast<std::uint8_t>(1U << column);
    }
    return true;
}

// Reads the rows below a heading into the band's glyphs.
constexpr bool readBand(std::string_view& art, int height, std::span<GRCglyph> band) {
    for (int row = 0; row < height; ++row) {
        std::string_view line = takeLine(art);
        for (GRCglyph& glyph : band)
            if (!readPiece(takePiece(line), row, glyph)) return false;
        if (!takePiece(line).empty()) return false;
    }
    return true;
}

// Reads a whole font; false when the art breaks any of the rules above.
constexpr bool readFontArt(std::string_view art, int height, int blankWidth, GRCfontData& font) {
    font.height = height;
    font.glyphs[0].width = blankWidth;
    std::span<GRCglyph> missing = std::span(font.glyphs).subspan(1);
    while (!art.empty()) {
        const std::string_view heading = takeLine(art);
        if (heading.empty()) continue;
        const int next = GRCfontData::last + 1 - static_cast<int>(missing.size());
        const auto count = static_cast<std::size_t>(countHeading(heading, next));
        if (count == 0 || count > missing.size() || !readBand(art, height, missing.first(count)))
            return false;
        missing = missing.subspan(count);
    }
    return missing.empty();
}

// The font of the art. Malformed art does not compile.
consteval GRCfontData fontFromArt(std::string_view art, int height, int blankWidth) {
    GRCfontData font;
    if (!readFontArt(art, height, blankWidth, font)) throw "malformed font art";
    return font;
}
