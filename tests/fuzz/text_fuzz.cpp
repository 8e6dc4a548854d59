// Draws any text and box at any place of a display of any size, in memory of exactly that
// size. The sanitizers judge.

#include "../baselib/choices.h"

#include "grc/boxf.h"
#include "grc/text.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    Choices choices(data, size);
    const auto any = [&choices] { return static_cast<int>(choices.below(UINT32_MAX)); };
    const GRCsize extent{choices.between(0, 255), choices.between(0, 255)};
    std::vector<unsigned int> memory(static_cast<std::size_t>(extent.width * extent.height));
    GRCdisplay display;
    display.init(extent.width, extent.height, memory.data());
    display.committed();
    GRCboxF({any(), any()}, {any(), any()}, choices.below(256U)).draw(display);
    GRCfont font;
    font.setfont(F9x5p);
    GRCtext text;
    text.font(font, any());
    text.color(choices.below(16U), choices.below(16U), choices.below(2) != 0);
    text.position({any(), any()});
    text.text(std::string(data, data + size).c_str());
    text.draw(display);
    const GRCrect& changed = display.changed();
    const bool isInside = changed.position.x >= 0 && changed.position.y >= 0 &&
                          changed.right() <= extent.width && changed.bottom() <= extent.height;
    require(isInside, "changed beyond the display");
    return 0;
}
