#include "sim/machine/picture_watch.h"

#include "sim/models/panel/oled.h"

#include <algorithm>
#include <string_view>
#include <utility>

namespace k4sim {

namespace {

// Dark all over, but for lines from edge to edge that are broken: no letter can be in it.
bool is_empty(std::string_view picture) {
    if (picture.find('0') == std::string_view::npos) return false;
    const auto row = [&](std::size_t y) { return picture.substr(y * glass_width, glass_width); };
    bool rows_alike = true, columns_alike = true;
    for (std::size_t y = 0; y * glass_width < picture.size(); ++y) {
        rows_alike = rows_alike && row(y) == row(0);
        columns_alike =
            columns_alike && row(y).find_first_not_of(row(y).front()) == std::string_view::npos;
    }
    return rows_alike || columns_alike;
}

} // namespace

PictureWatch::PictureWatch(Surroundings& surroundings, Glass glass, Reader reader)
    : surroundings_(surroundings), glass_(std::move(glass)), reader_(std::move(reader)) {}

void PictureWatch::changed() {
    appeared_ = surroundings_.now();
    if (watching_) return;
    watching_ = true;
    surroundings_.at(appeared_ + standing_us, [this] { look(); });
}

void PictureWatch::complete() {
    const std::string picture = glass_();
    if (picture != lit_.picture) note_lit(picture, picture == last_);
}

void PictureWatch::end() {
    if (not_handed_on() != nullptr) reader_(lit_.appeared, lit_.picture);
    lit_ = {};
}

// One look is planned at a time: a picture that changes all the time costs nothing.
void PictureWatch::look() {
    const Microseconds due = appeared_ + standing_us;
    if (surroundings_.now() < due) {
        surroundings_.at(due, [this] { look(); });
        return;
    }
    watching_ = false;
    std::string picture = glass_();
    if (picture == last_) return;
    last_ = std::move(picture);
    note_lit(last_, true);
    reader_(appeared_, last_);
}

void PictureWatch::note_lit(const std::string& picture, bool handed_on) {
    if (is_empty(picture)) return;
    lit_ = {appeared_, picture, handed_on};
}

} // namespace k4sim
