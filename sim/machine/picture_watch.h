// Finds the pictures of the OLED that a person could have seen: those that stayed.
#pragma once

#include "sim/models/surroundings.h"

#include <functional>
#include <string>

namespace k4sim {

// A picture that stood this long unchanged is worth keeping.
inline constexpr Microseconds standing_us = 500'000;

class PictureWatch {
public:
    // The picture as text, one character a pixel, '0' where it is dark.
    using Glass = std::function<std::string()>;
    // `appeared`: when the picture came.
    using Reader = std::function<void(Microseconds appeared, const std::string& picture)>;

    // Reads the glass when a picture has stood long enough, and hands it on when it is
    // not the one handed on before.
    PictureWatch(Surroundings& surroundings, Glass glass, Reader reader);

    // The picture is another one from now on.
    void changed();

    // The program turns to something else than drawing: what stands on the glass is whole.
    void complete();

    // Nothing more comes. Hands on the last whole picture with any light on it but that of
    // broken lines, however short it stood, unless it was handed on: a program that ends may
    // clear the glass as soon as its last words are there.
    void end();

    struct Lit {
        Microseconds appeared = 0;
        std::string picture;
        bool handed_on = false;
    };
    // What end() would hand on; null: nothing.
    const Lit* not_handed_on() const {
        return lit_.picture.empty() || lit_.handed_on ? nullptr : &lit_;
    }

private:
    void look();
    void note_lit(const std::string& picture, bool handed_on);

    Surroundings& surroundings_;
    Glass glass_;
    Reader reader_;
    Microseconds appeared_ = 0;
    bool watching_ = false;
    std::string last_;
    Lit lit_; // the latest known
};

} // namespace k4sim
