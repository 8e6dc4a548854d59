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

void NetworkLink::set_up(bool up) {
    up_ = up;
    tell();
}

void NetworkLink::disconnect() {
    connect(false);
    cable_out_ = true;
}

void NetworkLink::drop(Microseconds duration) {
    connect(false);
    surroundings_.at(surroundings_.now() + duration, [this] { connect(true); });
}

void NetworkLink::reconnect() {
    cable_out_ = false;
    connect(true);
}

void NetworkLink::flap(Microseconds down, Microseconds up) { flap_on(++flaps_, down, up); }

void NetworkLink::flap_on(std::uint32_t flap, Microseconds down, Microseconds up) {
    if (flap != flaps_) return;
    connect(false);
    surroundings_.at(surroundings_.now() + down, [this, flap] {
        if (flap == flaps_) connect(true);
    });
    surroundings_.at(surroundings_.now() + down + up,
                     [this, flap, down, up] { flap_on(flap, down, up); });
}

void NetworkLink::steady() {
    ++flaps_;
    connect(true);
}

void NetworkLink::set_present(bool present) {
    present_ = present;
    tell();
    surroundings_.event("link", present ? "present" : "absent", {{"interface", name_}});
}

void NetworkLink::connect(bool connected) {
    if (cable_out_) return;
    connected_ = connected;
    tell();
    surroundings_.event("link", connected ? "up" : "down", {{"interface", name_}});
}

NetworkLink* NetworkLinks::find(std::string_view name) {
    const auto found = std::ranges::find(links_, name, &NetworkLink::name);
    return found == links_.end() ? nullptr : &*found;
}

} // namespace k4sim
