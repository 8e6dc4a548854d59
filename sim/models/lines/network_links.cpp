#include "sim/models/lines/network_links.h"

#include <algorithm>
#include <bit>

namespace k4sim {

bool NetworkLink::refuses() {
    if (refusing_ && std::has_single_bit(++refusals_))
        surroundings_.event("link", "request-refused",
                            {{"interface", name_}, {"count", std::int64_t{refusals_}}});
    return refusing_;
}

void NetworkLink::disconnect() {
    connect(false);
    cable_out_ = true;
}

void NetworkLink::drop(Microseconds duration) {
    connect(false);
    surroundings_.at(surroundings_.now() + duration, [this] { connect(true); });
}

void NetworkLink::flap(Microseconds down, Microseconds up) {
    drop(down);
    surroundings_.at(surroundings_.now() + down + up, [this, down, up] { flap(down, up); });
}

void NetworkLink::remove() {
    present_ = false;
    surroundings_.event("link", "absent", {{"interface", name_}});
}

void NetworkLink::connect(bool connected) {
    if (cable_out_) return;
    connected_ = connected;
    surroundings_.event("link", connected ? "up" : "down", {{"interface", name_}});
}

NetworkLink* NetworkLinks::find(std::string_view name) {
    const auto found = std::ranges::find(links_, name, &NetworkLink::name);
    return found == links_.end() ? nullptr : &*found;
}

} // namespace k4sim
