#include "sim/models/universe.h"

#include "sim/models/device.h"
#include "sim/models/faults.h"
#include "sim/models/nearest.h"
#include "sim/setup_choices.h"

#include <algorithm>
#include <array>
#include <functional>

namespace k4sim {

namespace {

// For a device that is only asked what it is made of.
class NoSurroundings final : public Surroundings {
public:
    Microseconds now() const override { return 0; }
    void at(Microseconds, std::function<void()>) override {}
    void event(std::string_view, std::string_view, std::initializer_list<Field>) override {}
};

// The rows of the faults of the list, by how their names begin.
constexpr struct {
    std::string_view beginning, unit;
} units[] = {
    {"aes-", "AES/EBU"},          {"analog-", "AnalogAudio"},   {"capture-", "AnalogAudio"},
    {"card-", "AnalogAudio"},     {"playback-", "AnalogAudio"}, {"cpld-", "Frontpanel"},
    {"encoder-", "Frontpanel"},   {"key-", "Frontpanel"},       {"panel-", "Frontpanel"},
    {"sda-", "Frontpanel"},       {"speaker-", "Frontpanel"},   {"link-", "Ethernet"},
    {"parallel-", "ParallelPrt"}, {"serial-", "USB Ports"}};

constexpr std::string_view passes_soon = "it is over before anything is measured";
constexpr std::string_view no_key = "without a panel that runs there is no key to end the run";

constexpr Expectation list_expectations[] = {
    {"*", Finding::blocked, no_key, on(Board::none)},
    {"parallel-*", Finding::escaped,
     "the test looks for the port at 0xD000 only, where this board has none", on_engine},
    {"aes-lock-lost", Finding::escaped, passes_soon},
    {"analog-cable=crossed", Finding::escaped, "all channels play the same tone"},
    {"analog-crackle", Finding::escaped, passes_soon},
    {"playback-underrun=*", Finding::escaped, "a playback that breaks off is begun again"},
    {"card-element-missing=micboost", Finding::escaped, "this board has no such element", on_aes},
    {"card-element-missing=phantom", Finding::escaped, "this board has no such element", on_aes},
    {"cpld-*", Finding::blocked, no_key},
    {"key-word-invalid=*", Finding::escaped, "what can't be read is read again"},
    {"link-dropped=*", Finding::escaped, "the good readings are counted from then on"},
    {"no-privilege", Finding::blocked, no_key},
    {"panel-*", Finding::blocked, no_key},
    {"sda-stuck=*", Finding::blocked, no_key},
    {"serial-cable=looped", Finding::escaped, "both adapters are sent the same text"},
    {"serial-first-number=*", Finding::escaped, "an adapter is found under any number"},
    {"serial-second-number=*", Finding::escaped, "an adapter is found under any number"},
    {"serial-late=*", Finding::escaped, "the test waits for adapters"},
    {"speaker-absent", Finding::blocked, "without a speaker the panel is not used either"},
};

std::vector<std::string> settings_of(const Fault& fault) {
    if (fault.value != Fault::Value::word) return {fault_example(fault)};
    std::vector<std::string> settings;
    for (const std::string_view word : fault_words(fault))
        settings.push_back(std::string(fault.name).append("=").append(word));
    return settings;
}

std::string_view unit_of(std::string_view fault) {
    const auto found = std::ranges::find_if(
        units, [&](const auto& row) { return fault.starts_with(row.beginning); });
    return found == std::end(units) ? "" : found->unit;
}

void add_list(Board board, std::vector<SiteFault>& found) {
    for (const Fault& fault : fault_list()) {
        const std::vector<std::string_view> suitable = fault_boards(fault);
        if (std::ranges::find(suitable, name_of(boards, board)) == suitable.end()) continue;
        for (std::string& setting : settings_of(fault)) {
            const Expectation* const expectation =
                expectation_of(list_expectations, board, setting);
            found.push_back({std::move(setting), unit_of(fault.name),
                             expectation ? expectation->expected : Finding::detected,
                             expectation ? expectation->why : ""});
        }
    }
}

std::vector<SiteFault> made_universe(Board board) {
    NoSurroundings nothing;
    Device device(board, nothing);
    FaultSites sites(board, 0);
    device.name_sites(sites);
    std::vector<SiteFault> found = sites.all();
    add_list(board, found);
    return found;
}

std::string_view site_of(const SiteFault& fault) {
    return std::string_view(fault.fault).substr(0, fault.fault.find('='));
}

// The ways to break the site.
std::vector<std::string_view> ways_of(Board board, std::string_view site) {
    std::vector<std::string_view> ways;
    for (const SiteFault& fault : universe(board))
        if (site_of(fault) == site && site.size() < fault.fault.size())
            ways.push_back(std::string_view(fault.fault).substr(site.size() + 1));
    return ways;
}

std::vector<std::string_view> boards_with(std::string_view site) {
    std::vector<std::string_view> names;
    for (const auto& [board, name] : boards)
        if (!ways_of(board, site).empty()) names.push_back(name);
    return names;
}

std::vector<std::string_view> sites_of(Board board) {
    std::vector<std::string_view> sites;
    for (const SiteFault& fault : universe(board))
        if (const std::string_view site = site_of(fault);
            is_site(site) && (sites.empty() || sites.back() != site))
            sites.push_back(site);
    return sites;
}

} // namespace

const std::vector<SiteFault>& universe(Board board) {
    static std::array<std::vector<SiteFault>, std::size(boards)> universes;
    std::vector<SiteFault>& faults = universes[static_cast<std::size_t>(board)];
    if (faults.empty()) faults = made_universe(board);
    return faults;
}

std::string site_error(Board board, std::string_view site, std::string_view way) {
    const std::vector<std::string_view> ways = ways_of(board, site);
    const std::string name(site);
    if (std::ranges::find(ways, way) != ways.end()) return "";
    if (!ways.empty()) return "fault " + name + " needs one of " + alternatives(ways);
    const std::vector<std::string_view> suitable = boards_with(site);
    if (!suitable.empty())
        return "fault " + name + " has nothing to break on board " +
               std::string(name_of(boards, board)) + ": choose board " + alternatives(suitable);
    return "unknown fault " + name + ": \"k4sim faults --all\" lists all there are" +
           did_you_mean(site, sites_of(board));
}

} // namespace k4sim
