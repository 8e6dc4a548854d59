#include "sim/host/picture_watch.h"

#include <utility>

namespace k4sim {

PictureWatch::PictureWatch(Surroundings& surroundings, Glass glass, Reader reader)
    : surroundings_(surroundings), glass_(std::move(glass)), reader_(std::move(reader)) {}

void PictureWatch::changed() {
    appeared_ = surroundings_.now();
    if (watching_) return;
    watching_ = true;
    surroundings_.at(appeared_ + standing_us, [this] { look(); });
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
    reader_(appeared_, last_);
}

} // namespace k4sim
