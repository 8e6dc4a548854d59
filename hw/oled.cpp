#include "hw/oled.h"

#include "grc/display.h"

#include <algorithm>
#include <array>

namespace {

// How the glass is wired to the chip. The remap byte decides in which nibble of a byte the
// left one of two pixels belongs, so these constants change together.
constexpr unsigned char remapTOD9M0026 = 0xC3;
constexpr unsigned char remapOEL1M4005 = 0x14;
constexpr unsigned char dualComOEL1M4005 = 0x11;
constexpr unsigned int leftPixelShift = 4;
constexpr unsigned int rightPixelShift = 0;

// The glass of the OEL1M4005 covers the middle 256 of the chip's 480 segments.
constexpr int firstColumnOEL1M4005 = 0x1C;

constexpr int pixelsPerColumnTOD9M0026 = 2;
constexpr int pixelsPerColumnOEL1M4005 = 4;

// Commands that both chips share.
constexpr unsigned char columnWindow = 0x15;
constexpr unsigned char rowWindow = 0x75;
constexpr unsigned char displayOff = 0xAE;
constexpr unsigned char allPixelsOn = 0xA5;

constexpr unsigned char contrastTOD9M0026 = 0x81;
constexpr unsigned char showPictureTOD9M0026 = 0xA4;

constexpr unsigned char writePixelsOEL1M4005 = 0x5C;
constexpr unsigned char contrastOEL1M4005 = 0xC1;
constexpr unsigned char showPictureOEL1M4005 = 0xA6; // 0xA4 is "all off" on this chip

// clang-format off

// SSD1362: every byte, parameters included, is sent as a command.
constexpr auto setupTOD9M0026 = std::to_array<unsigned char>({
    0xFD, 0x12,                                // unlock
    displayOff,
    0x23, 0x00,                                // no fading
    columnWindow, 0x00, 0x7F,
    rowWindow, 0x00, 0x3F,
    contrastTOD9M0026, 0x9F,
    0xA0, remapTOD9M0026,
    0xA1, 0x00, 0xA2, 0x00,                    // no vertical shift
    showPictureTOD9M0026,
    0xA8, 0x3F,                                // 64 rows
    0xAB, 0x01,                                // internal core supply
    0xAD, 0x8E,                                // external reference current
    0xB1, 0x22, 0xB3, 0xA0, 0xB6, 0x04,        // phases, clock: 108 pictures a second
    0xB9,                                      // linear greys
    0xBC, 0x1F, 0xBD, 0x01, 0xBE, 0x07,        // drive voltages
});

// SSD1322: each command is followed here by the number of its parameters, which are sent
// as data. The grey table gives grey 1 a light of its own, which the chip's linear table
// does not; command 0x00 puts it into force.
constexpr auto setupOEL1M4005 = std::to_array<unsigned char>({
    0xFD, 1, 0x12,                             // unlock
    displayOff, 0,
    0xB3, 1, 0x91,                             // clock
    0xCA, 1, 0x3F,                             // 64 rows
    0xA2, 1, 0x00, 0xA1, 1, 0x00,              // no vertical shift
    0xA0, 2, remapOEL1M4005, dualComOEL1M4005,
    0xB5, 1, 0x00,                             // general purpose pins unused
    0xAB, 1, 0x01,                             // internal core supply
    0xB4, 2, 0xA0, 0xFD,                       // external segment low voltage
    contrastOEL1M4005, 1, 0x9F, 0xC7, 1, 0x0F, // full master current
    0xB8, 15, 8, 16, 24, 32, 40, 48, 56, 64, 72, 80, 88, 96, 104, 112, 120,
    0x00, 0,
    0xB1, 1, 0xE2,                             // phases of 5 and 14 clocks
    0xD1, 2, 0x82, 0x20,                       // enhancement B
    0xBB, 1, 0x1F, 0xB6, 1, 0x08, 0xBE, 1, 0x07, // drive voltages, second pre-charge
    showPictureOEL1M4005, 0, 0xA9, 0,          // no partial mode
});

// clang-format on

constexpr GRCrect wholeDisplay = {{0, 0}, CHGenericOLEDController::displaySize()};

bool isOnDisplay(const GRCrect& area) {
    const GRCrect visible = intersection(area, wholeDisplay);
    return !visible.empty() && visible.extent == area.extent;
}

unsigned int packed(const unsigned int* twoPixels) {
    return (twoPixels[0] & GRCgreyMask) << leftPixelShift | (twoPixels[1] & GRCgreyMask)
                                                                << rightPixelShift;
}

unsigned int percentOf(unsigned int range, unsigned char percent) {
    return (range * std::min<unsigned int>(percent, 100) + 50) / 100;
}

// The columns that hold the pixels of a span, and the picture's word of the leftmost
// pixel in them.
struct ColumnSpan {
    ColumnSpan(int x, int w, int pixelsPerColumn, const unsigned int* pixels)
        : first(x / pixelsPerColumn), last((x + w - 1) / pixelsPerColumn),
          pixelCount((last - first + 1) * pixelsPerColumn),
          leftmost(pixels - (x - first * pixelsPerColumn)) {}

    int first;
    int last;
    int pixelCount;
    const unsigned int* leftmost;
};

} // namespace

void CHGenericOLEDController::putPixels(const unsigned int* pixels, int count) {
    constexpr int pixelsPerWord = 8;
    const unsigned int* const end = pixels + count;
    for (; end - pixels >= pixelsPerWord; pixels += pixelsPerWord)
        put_data(packed(pixels) << 24 | packed(pixels + 2) << 16 | packed(pixels + 4) << 8 |
                 packed(pixels + 6));
    for (; pixels < end; pixels += 2)
        put_data(static_cast<unsigned char>(packed(pixels)));
}

void CHGenericOLEDController::putBlackPicture() {
    constexpr int words = displaySize().width * displaySize().height / 8;
    for (int i = 0; i < words; ++i)
        put_data(0U);
}

void CHTOD9M0026::init() {
    for (const unsigned char byte : setupTOD9M0026)
        put_cmd(byte);
    putBlackPicture();
}

void CHTOD9M0026::update(int x, int y, int w, int h, const unsigned int* pixels) {
    if (!isOnDisplay({{x, y}, {w, h}})) return;
    const ColumnSpan span(x, w, pixelsPerColumnTOD9M0026, pixels);
    put_cmd(static_cast<unsigned int>(columnWindow << 24 | span.first << 16 | span.last << 8 |
                                      rowWindow));
    put_cmd(static_cast<unsigned short>((y + h - 1) << 8 | y));
    for (int row = 0; row < h; ++row)
        putPixels(span.leftmost + row * displaySize().width, span.pixelCount);
}

void CHTOD9M0026::contrast(unsigned char percent) {
    // 0 is outside the chip's range.
    const unsigned int current = 1 + percentOf(254, percent);
    put_cmd(static_cast<unsigned short>(current << 8 | contrastTOD9M0026));
}

void CHTOD9M0026::enable(bool on, bool allOn) {
    put_cmd(static_cast<unsigned char>(displayOff + on));
    put_cmd(static_cast<unsigned char>(showPictureTOD9M0026 + allOn));
}

void CHOEL1M4005::init() {
    for (auto next = setupOEL1M4005.begin(); next != setupOEL1M4005.end();) {
        put_cmd(*next++);
        for (int parameters = *next++; parameters > 0; --parameters)
            put_data(*next++);
    }
    const GRCsize size = displaySize();
    putWindow(columnWindow, firstColumnOEL1M4005,
              firstColumnOEL1M4005 + size.width / pixelsPerColumnOEL1M4005 - 1);
    putWindow(rowWindow, 0, size.height - 1);
    put_cmd(writePixelsOEL1M4005);
    putBlackPicture();
}

void CHOEL1M4005::update(int x, int y, int w, int h, const unsigned int* pixels) {
    if (!isOnDisplay({{x, y}, {w, h}})) return;
    const ColumnSpan span(x, w, pixelsPerColumnOEL1M4005, pixels);
    putWindow(columnWindow, firstColumnOEL1M4005 + span.first, firstColumnOEL1M4005 + span.last);
    putWindow(rowWindow, y, y + h - 1);
    put_cmd(writePixelsOEL1M4005);
    for (int row = 0; row < h; ++row)
        putPixels(span.leftmost + row * displaySize().width, span.pixelCount);
}

void CHOEL1M4005::contrast(unsigned char percent) {
    put_cmd(contrastOEL1M4005);
    put_data(static_cast<unsigned char>(percentOf(255, percent)));
}

void CHOEL1M4005::enable(bool on, bool allOn) {
    put_cmd(static_cast<unsigned char>(displayOff + on));
    put_cmd(allOn ? allPixelsOn : showPictureOEL1M4005);
}

void CHOEL1M4005::putWindow(unsigned char command, int first, int last) {
    put_cmd(command);
    put_data(static_cast<unsigned char>(first));
    put_data(static_cast<unsigned char>(last));
}
