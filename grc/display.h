#pragma once

#include <cstddef>
#include <vector>

#include "grc/geometry.h"

// What counts of the word of a pixel.
inline constexpr unsigned int GRCgreyMask = 0xF;

// The pixel memory of a grey-level display, and the area of it that was drawn on since
// the last transfer to the hardware.
//
// A pixel is one 32-bit word whose low 4 bits are the grey level: 0 is black, 15 full
// brightness. Row follows row without gaps. The memory is the display's own or the
// caller's (shared memory, for instance).
//
// No locking: one thread draws or transfers at a time.
class GRCdisplay {
public:
    // Largest width and height that init() accepts.
    static constexpr int extentMax = 16384;

    // An empty display of 0 x 0 pixels.
    GRCdisplay() = default;
    GRCdisplay(const GRCdisplay&) = delete;
    GRCdisplay& operator=(const GRCdisplay&) = delete;

    // Makes the display width x height pixels large; extents outside 1..extentMax give an
    // empty display. Without memory the display takes its own, black. With memory, of at
    // least width x height words that outlive the display's use, the words stay as they
    // are. Nothing has been transferred then: the changed area is the whole display.
    void init(int width, int height, unsigned int* memory = nullptr);

    // Sets every pixel to a grey level.
    void clear(unsigned int grey = 0);

    // Sets one pixel; positions outside the display are ignored.
    void put(long long x, long long y, unsigned int grey);

    // Sets all pixels of an area that lie on the display.
    void fill(const GRCrect& area, unsigned int grey);

    // For drawing of other kinds: the pixel word at the top left corner of an area that lies on
    // the display and is not empty; rows are size().width words apart. The area counts as drawn
    // on. Only the low 4 bits of what is written there may be set.
    unsigned int* edit(const GRCrect& area);

    GRCsize size() const { return size_; }
    GRCrect area() const { return {{0, 0}, size_}; }

    // The grey level at a position, 0..15; 0 outside the display.
    unsigned int grey(int x, int y) const;

    // The pixel words of row y, 0 <= y < size().height.
    const unsigned int* row(int y) const;

    // The bounding area of everything drawn since init() or committed().
    const GRCrect& changed() const { return changed_; }

    // Forgets the changed area: its pixels have reached the hardware.
    void committed() { changed_ = {}; }

private:
    bool contains(long long x, long long y) const;
    std::size_t rowStart(int y) const;

    GRCsize size_;
    GRCrect changed_;
    std::vector<unsigned int> ownMemory_;
    unsigned int* pixels_ = nullptr;
};
