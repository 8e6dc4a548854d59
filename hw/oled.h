#pragma once

#include "grc/geometry.h"
#include "hw/fplink.h"

// An OLED controller with 256 x 64 pixels of 16 grey levels on the front panel. The bytes
// for the controller chip go out through put_cmd and put_data; their longer forms send
// several bytes in the order of the front-panel link (16-bit commands low byte first, the
// 32-bit forms high byte first). No operation reports bus errors.
class CHGenericOLEDController {
public:
    virtual void put_cmd(unsigned char command) = 0;
    virtual void put_cmd(unsigned short commands) = 0;
    virtual void put_cmd(unsigned int commands) = 0;
    virtual void put_data(unsigned char data) = 0;
    virtual void put_data(unsigned int data) = 0;

    // Sets the chip up, with a dark picture; the display stays off until enable().
    virtual void init() = 0;

    // Writes the area of w x h pixels at (x, y). pixels is the word of pixel (x, y) within
    // a whole picture of displaySize(), so that the rows are one display width apart and
    // the neighbours that share a byte with the edges can be read. The low 4 bits of a
    // word are the grey level. Areas not wholly on the display are ignored.
    virtual void update(int x, int y, int w, int h, const unsigned int* pixels) = 0;

    // Brightness of the whole picture, 0..100 percent; more counts as 100.
    virtual void contrast(unsigned char percent) = 0;

    // Switches the display on or off; allOn lights every pixel instead of the picture,
    // which the chip keeps meanwhile.
    virtual void enable(bool on, bool allOn) = 0;

    virtual ~CHGenericOLEDController() = default;

    // Width and height of the picture: 256 x 64 for all controllers.
    static constexpr GRCsize displaySize() { return {256, 64}; }

protected:
    // Sends pixels from left to right, two a byte. count is even.
    void putPixels(const unsigned int* pixels, int count);

    // Sends a whole picture of black pixels.
    void putBlackPicture();
};

// Panel type 0x3C, with an SSD1362.
class CHTOD9M0026 : public CHGenericOLEDController {
public:
    void init() override;
    void update(int x, int y, int w, int h, const unsigned int* pixels) override;

    // 0 is the lowest brightness of the chip, not dark.
    void contrast(unsigned char percent) override;

    void enable(bool on, bool allOn) override;
};

// Panel type 0x3D, with an SSD1322.
class CHOEL1M4005 : public CHGenericOLEDController {
public:
    void init() override;
    void update(int x, int y, int w, int h, const unsigned int* pixels) override;

    // 0 leaves the display dark.
    void contrast(unsigned char percent) override;

    void enable(bool on, bool allOn) override;

private:
    void putWindow(unsigned char command, int first, int last);
};

// A controller whose bytes go out over a front-panel link, which must outlive it.
template <class Controller>
class CHlinkedOLED : public Controller {
public:
    explicit CHlinkedOLED(CHfplinkK4& frontPanelLink) : link_(&frontPanelLink) {}

    void put_cmd(unsigned char command) override { link_->put_cmd(command); }
    void put_cmd(unsigned short commands) override { link_->put_cmd(commands); }
    void put_cmd(unsigned int commands) override { link_->put_cmd(commands); }
    void put_data(unsigned char data) override { link_->put_data(data); }
    void put_data(unsigned int data) override { link_->put_data(data); }

private:
    CHfplinkK4* link_;
};

class MyTOD9M0026 final : public CHlinkedOLED<CHTOD9M0026> {
public:
    using CHlinkedOLED::CHlinkedOLED;
};

class MyOEL1M4005 final : public CHlinkedOLED<CHOEL1M4005> {
public:
    using CHlinkedOLED::CHlinkedOLED;
};

// Stands in where no known controller answers: shows nothing, sends nothing of itself.
class MyFAKEOLED final : public CHlinkedOLED<CHGenericOLEDController> {
public:
    using CHlinkedOLED::CHlinkedOLED;

    void init() override {}
    void update(int, int, int, int, const unsigned int*) override {}
    void contrast(unsigned char) override {}
    void enable(bool, bool) override {}
};
