// The program's status table as a picture of the OLED, drawn by the program's own library.
#pragma once

#include "sim/models/panel/oled.h"

#include "baselib/text/astr.h"
#include "grc/display.h"
#include "grc/font.h"
#include "grc/text.h"

#include <string>
#include <utility>
#include <vector>

inline constexpr int status_x = 70;
inline constexpr int row_pitch = 10;

class StatusPicture {
public:
    // Row after row from the top, label and status.
    explicit StatusPicture(const std::vector<std::pair<std::string, std::string>>& rows = {}) {
        display_.init(k4sim::glass_width, k4sim::glass_height);
        font_.setfont(F9x5p);
        text_.font(font_, 0);
        text_.color(15, 0, 0);
        int y = 0;
        for (const auto& [label, status] : rows) {
            draw(0, y, label);
            draw(status_x, y, status);
            y += row_pitch;
        }
    }

    void draw(int x, int y, const std::string& characters) {
        text_.position({x, y});
        text_.text(KLTastr(characters.c_str()));
        text_.draw(display_);
    }

    k4sim::Picture picture() const {
        k4sim::Picture picture{};
        for (unsigned i = 0; i < picture.size(); ++i)
            picture[i] = static_cast<std::uint8_t>(
                display_.grey(i % k4sim::glass_width, i / k4sim::glass_width));
        return picture;
    }

private:
    GRCdisplay display_;
    GRCfont font_;
    GRCtext text_;
};
