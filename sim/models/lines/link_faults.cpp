#include "sim/models/lines/link_faults.h"

#include "sim/models/breaker.h"
#include "sim/models/lines/network_links.h"

namespace k4sim {

namespace {

constexpr Microseconds drop_us = 600'000; // longer than from one look at the link to the next
constexpr Microseconds flap_down_us = 1'000'000;
constexpr Microseconds flap_up_us = 4'000'000; // shorter than a link must stay up to pass

constexpr Breaker<NetworkLinks> link_breakers[] = {
    {"link-absent", [](NetworkLinks& links, auto name) { links.find(name)->set_present(false); },
     [](NetworkLinks& links, auto name) { links.find(name)->set_present(true); }},
    {"link-down", [](NetworkLinks& links, auto name) { links.find(name)->disconnect(); },
     [](NetworkLinks& links, auto name) { links.find(name)->reconnect(); }},
    {"link-dropped", [](NetworkLinks& links, auto name) { links.find(name)->drop(drop_us); }},
    {"link-flapping",
     [](NetworkLinks& links, auto name) { links.find(name)->flap(flap_down_us, flap_up_us); },
     [](NetworkLinks& links, auto name) { links.find(name)->steady(); }},
    {"link-refused", [](NetworkLinks& links, auto name) { links.find(name)->set_refusing(true); },
     [](NetworkLinks& links, auto name) { links.find(name)->set_refusing(false); }},
};

} // namespace

bool work_on_links(Work work, NetworkLinks& links, std::string_view name, std::string_view value) {
    return work_by_name(link_breakers, work, links, name, value);
}

} // namespace k4sim
