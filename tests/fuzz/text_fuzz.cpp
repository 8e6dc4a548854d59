// Draws any text and box at any place of a display of any size, in memory of exactly that
// size. The sanitizers judge.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "grc/boxf.h"
#include "grc/text.h"

namespace {

struct Header {
    std::uint8_t width;
    std::uint8_t height;
    std::int32_t x;
    std::int32_t y;
    std::int32_t extentX;
    std::int32_t extentY;
    std::int32_t spacing;
    std::uint8_t colours;
    std::uint8_t isTransparent;
};

void requireInside(const GRCrect& changed, GRCsize size) {
    const bool isInside = changed.position.x >= 0 && changed.position.y >= 0 &&
                          changed.right() <= size.width && changed.bottom() <= size.height;
    if (!isInside) std::abort();
}

void draw(GRCdisplay& display, const Header& header, const std::string& characters) {
    GRCfont font;
    font.setfont(F9x5p);
    GRCtext text;
    text.font(font, header.spacing);
    text.color(header.colours & 15U, header.colours >> 4, header.isTransparent);
    text.position({header.x, header.y});
    text.text(characters.c_str());
    GRCboxF({header.x, header.y}, {header.extentX, header.extentY}, header.colours).draw(display);
    text.draw(display);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    Header header{};
    const std::size_t headerSize = std::min(size, sizeof header);
    std::memcpy(&header, data, headerSize);
    std::vector<unsigned int> memory(std::size_t{header.width} * header.height);
    GRCdisplay display;
    display.init(header.width, header.height, memory.data());
    display.committed();
    draw(display, header, {data + headerSize, data + size});
    requireInside(display.changed(), display.size());
    return 0;
}
