// The controller of panel type 0x3D: 480 x 128 pixels of 4 bits, of which the glass shows
// 256 x 64 in the middle of the columns (x = 0 is column 1C). Command bytes come with
// D/C = 0, their parameters with D/C = 1; so do the pixels, after 5C.
//
// The glass needs remap bytes 14 11 for an upright picture; 06 11 turns it by 180
// degrees. It is wired for dual COM mode with sequential pins and at most 64 rows (CA 3F), and
// stays dark in any other mode.
//
// Not modelled: other COM wirings than the glass's; the analogue registers and the pins
// (they can be peeked).
#pragma once

#include "sim/models/panel/oled.h"
#include "sim/models/panel/oled_window.h"

namespace k4sim {

class Ssd1322 final : public Oled {
public:
    explicit Ssd1322(Surroundings& surroundings);

    // A command that comes before the parameters of the last one are complete drops that
    // one: a protocol error. While locked (FD 16) everything but FD is ignored.
    void command(std::uint8_t byte) override;
    // Neither a parameter nor after 5C: a protocol error.
    void data(std::uint8_t byte) override;

private:
    void after_reset() override;
    void execute(std::uint8_t code, Parameters parameters) override;
    Picture ram_picture() const override;
    void store(std::uint8_t byte);
    bool line_shown(unsigned line) const;

    OledWindow window_;
    bool writing_ = false;     // after 5C
    bool ignoring_ = false;    // what follows an ignored command is ignored with it
    bool second_byte_ = false; // of a column
    bool partial_ = false;
};

} // namespace k4sim
