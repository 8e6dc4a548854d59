#include "sim/models/lines/network_links.h"

#include <algorithm>
#include <bit>
#include <string>

namespace k4sim {

namespace {

constexpr Microseconds loose_down_us = 700'000, loose_up_us = 1'300'000;
constexpr Microseconds slow_up_us = 20'000'000;

constexpr Expectation carrier_expectations[] = {
    {"link.*.carrier=stuck-1", Finding::escaped, "no traffic is sent, and both cables are in"},
    {"link.*.carrier=late", Finding::escaped, "a link may come late"},
};

} // namespace

void NetworkLink::name_sites(FaultSites& sites) {
    sites.about("Ethernet", carrier_expectations);
    const std::string site = "link." + std::string(name_);
    sites.add(site + ".carrier", "stuck-0", [this](bool broken) {
        if (broken)
            disconnect();
        else
            reconnect();
    });
    sites.add(site + ".carrier", "stuck-1", [this](bool broken) {
        carrier_stuck_ = broken;
        tell();
    });
    sites.add(site + ".carrier", "late", [this](bool broken) {
        if (broken)
            drop(slow_up_us);
        else
            reconnect();
    });
    sites.add(site + ".plug", "loose", [this](bool broken) {
        if (broken)
            flap(loose_down_us, loose_up_us);
        else
            steady();
    });
    sites.add(site + ".interface", "missing", [this](bool broken) { set_present(!broken); });
    sites.add(site + ".driver", "refusing", [this](bool broken) { set_refusing(broken); });
}

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

void NetworkLinks::name_sites(FaultSites& sites) {
    for (NetworkLink& link : links_)
        link.name_sites(sites);
}

NetworkLink* NetworkLinks::find(std::string_view name) {
    const auto found = std::ranges::find(links_, name, &NetworkLink::name);
    return found == links_.end() ? nullptr : &*found;
}

} // namespace k4sim
