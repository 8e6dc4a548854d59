#pragma once

#include "grc/hwgeneric.h"
#include "hw/oled.h"

#include <cstdint>
#include <vector>

// Copies a display to an OLED controller and sends only what differs from the picture that
// the controller already shows: for each row one update from the first to the last
// changed pixel, nothing for rows without a change.
//
// commitFrom(display, true) looks at the area drawn on since the last transfer, and with
// false at the whole display. A display of another size than the controller's is not
// sent. No locking: one thread transfers at a time.
//
// Measured, in bytes sent: a status text that changes from "Not running" to "OK" costs the
// SSD1362 205 (327 on an I2C wire) and the SSD1322 223 (441); the whole picture takes 8576
// (12928) and 8640 (13632).
class CHgenericWriteChanges : public GRChwgeneric {
public:
    // Selects the controller, which must outlive the writer. What it shows is taken for
    // unknown, so that the first transfer sends every pixel.
    void attach(CHGenericOLEDController& newController);

protected:
    void transfer(const GRCdisplay& display, const GRCrect& area) override;

private:
    void transferSpan(const unsigned int* row, int y, int left, int right);

    CHGenericOLEDController* controller_ = nullptr;

    // What the controller shows, one byte a pixel.
    std::vector<std::uint8_t> shadow_;
};
