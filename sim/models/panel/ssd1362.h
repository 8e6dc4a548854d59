// The controller of panel type 0x3C: 256 x 64 pixels of 4 bits. Commands and all their
// parameters come with D/C = 0; every byte with D/C = 1 is two pixels.
//
// The glass is wired odd/even to the chip and counts its columns from the right: remap
// byte C3, with the even x in the high nibble, gives an upright picture, D0 and 52 the
// same one turned by 180 degrees.
//
// Not modelled: fading (23), the scroll area (A3) and the analogue registers; they can be
// peeked.
#pragma once

#include "sim/models/panel/oled.h"
#include "sim/models/panel/oled_window.h"

namespace k4sim {

class Ssd1362 final : public Oled {
public:
    explicit Ssd1362(Surroundings& surroundings);

    // While locked (FD 16) everything but FD is ignored.
    void command(std::uint8_t byte) override;
    // Amid the parameters of a command the byte is stored all the same, but counts as a
    // protocol error. Without core supply (AB 00) there is no RAM.
    void data(std::uint8_t byte) override;

private:
    void after_reset() override;
    void execute(std::uint8_t code, Parameters parameters) override;
    Picture ram_picture() const override;

    OledWindow window_;
};

} // namespace k4sim
