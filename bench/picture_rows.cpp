// A row of the status table drawn and sent.

#include "table.h"

#include "grc/boxf.h"
#include "grc/text.h"
#include "hw/write_changes.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <vector>

namespace {

constexpr GRCsize extent = CHGenericOLEDController::displaySize();
constexpr GRCpoint textPosition{70, 10};
constexpr unsigned int foreground = 15;
constexpr const char* line = "Silence/DC  -11.8  -12.0  25.3 31.";
static_assert(std::char_traits<char>::length(line) == 34);

using Pixels = std::array<unsigned int, std::size_t{extent.width} * extent.height>;

// The least that draws a text: each glyph, clipped to the display.
void drawGlyphs(Pixels& pixels, const GRCfont& font, const char* text, GRCpoint position) {
    int left = position.x;
    for (; *text != '\0'; ++text) {
        const GRCglyph& glyph = font.glyph(*text);
        const int first = std::max(left, 0);
        const int end = std::min(left + glyph.width + GRCfont::gap, extent.width);
        for (int row = 0; row < font.height(); ++row) {
            const int y = position.y + row;
            if (y < 0 || y >= extent.height) continue;
            for (int x = first; x < end; ++x)
                pixels[static_cast<std::size_t>(y * extent.width + x)] =
                    glyph.rows[static_cast<std::size_t>(row)] >> (x - left) & 1 ? foreground : 0;
        }
        left += glyph.width + GRCfont::gap;
    }
}

GRCfont statusFont() {
    GRCfont font;
    font.setfont(F9x5p);
    return font;
}

const GRCfont font = statusFont();

GRCtext statusText(const char* characters) {
    GRCtext text;
    text.font(font, 0);
    text.color(foreground, 0, 0);
    text.position(textPosition);
    text.text(characters);
    return text;
}

// Counts the bytes of an SSD1362, and shows nothing.
class ByteCounter : public CHTOD9M0026 {
public:
    void put_cmd(unsigned char) override { ++bytes; }
    void put_cmd(unsigned short) override { bytes += 2; }
    void put_cmd(unsigned int) override { bytes += 4; }
    void put_data(unsigned char) override { ++bytes; }
    void put_data(unsigned int) override { bytes += 4; }

    int bytes = 0;
};

// A display whose first picture was sent.
struct Panel {
    Panel() {
        display.init(extent.width, extent.height);
        writer.attach(controller);
        writer.commitFrom(display, true);
    }

    int bytesOf(const char* characters) {
        statusText(characters).draw(display);
        controller.bytes = 0;
        writer.commitFrom(display, true);
        return controller.bytes;
    }

    GRCdisplay display;
    ByteCounter controller;
    CHgenericWriteChanges writer;
};

// The bytes of the cheapest windows, each over some rows, that send all pixels in which two
// texts differ: two pixels a byte and the six bytes of a window. No program can do with less.
int leastBytes(const char* before, const char* after) {
    constexpr int windowBytes = 6;
    Pixels old{};
    Pixels wanted{};
    drawGlyphs(old, font, before, textPosition);
    drawGlyphs(wanted, font, after, textPosition);
    std::vector<int> least(extent.height + 1, 0); // of the rows from one on
    for (int top = extent.height - 1; top >= 0; --top) {
        int first = extent.width;
        int last = -1;
        least[top] = INT_MAX;
        for (int bottom = top; bottom < extent.height; ++bottom) {
            for (int x = 0; x < extent.width; ++x) {
                const auto at = static_cast<std::size_t>(bottom * extent.width + x);
                if (old[at] == wanted[at]) continue;
                first = std::min(first, x / 2);
                last = std::max(last, x / 2);
            }
            const int data = last < 0 ? 0 : windowBytes + (last - first + 1) * (bottom - top + 1);
            least[top] = std::min(least[top], data + least[bottom + 1]);
        }
    }
    return least[0];
}

} // namespace

void addPictureRows(Table& table) {
    static GRCdisplay display;
    display.init(extent.width, extent.height);
    table.compare(
        "status row of 34 characters drawn", 2, "clipped glyph loop",
        [text = statusText(line)] {
            text.draw(display);
            keep(display.row(0));
        },
        [pixels = Pixels{}]() mutable {
            drawGlyphs(pixels, font, line, textPosition);
            keep(pixels);
        });

    static Panel panel;
    static const std::vector<unsigned char> shadow(std::tuple_size_v<Pixels>);
    static const std::vector<unsigned char> bytes(std::tuple_size_v<Pixels>);
    table.compare(
        "commit of a whole picture unchanged", 1.5, "memcmp of its bytes",
        [] {
            GRCboxF({0, 0}, {1, 1}, 0).draw(panel.display);
            GRCboxF({extent.width - 1, extent.height - 1}, {1, 1}, 0).draw(panel.display);
            panel.writer.commitFrom(panel.display, true);
            keep(panel.controller.bytes);
        },
        [] { keep(memcmp(bytes.data(), shadow.data(), bytes.size())); });

    Panel counted;
    counted.bytesOf("In progress: 57");
    table.count("bytes sent for \"57\" to \"58\"", 1.3, "least-cost windows",
                counted.bytesOf("In progress: 58"),
                leastBytes("In progress: 57", "In progress: 58"));
}
