#include "sim/models/joints/fault_sites.h"

#include <algorithm>
#include <fnmatch.h>
#include <utility>

namespace k4sim {

std::string_view name_of(Finding finding) {
    static constexpr std::string_view names[] = {"detected", "misleading", "operator", "escaped",
                                                 "blocked"};
    return names[static_cast<std::size_t>(finding)];
}

bool fits_pattern(std::string_view pattern, std::string_view text) {
    return fnmatch(std::string(pattern).c_str(), std::string(text).c_str(), 0) == 0;
}

bool is_named_like(std::string_view pattern, std::string_view name) {
    if (pattern.find_first_of("*?[") == std::string_view::npos)
        return name.find(pattern) != std::string_view::npos;
    return fits_pattern(pattern, name);
}

const Expectation* expectation_of(std::span<const Expectation> expectations, Board board,
                                  std::string_view fault) {
    const auto found = std::ranges::find_if(expectations, [&](const Expectation& expectation) {
        return (expectation.boards & on(board)) != 0 && fits_pattern(expectation.pattern, fault);
    });
    return found == expectations.end() ? nullptr : &*found;
}

void FaultSites::add(std::string_view site, std::string_view way, Act act) {
    SiteFault fault{std::string(site).append("=").append(way), unit_};
    if (const Expectation* const expectation = expectation_of(expectations_, board_, fault.fault)) {
        fault.expected = expectation->expected;
        fault.why = expectation->why;
    }
    faults_.push_back(std::move(fault));
    acts_.push_back(std::move(act));
}

bool FaultSites::work(std::string_view site, std::string_view way, bool broken) const {
    const std::string fault = std::string(site).append("=").append(way);
    const auto found = std::ranges::find(faults_, fault, &SiteFault::fault);
    if (found == faults_.end()) return false;
    acts_[static_cast<std::size_t>(found - faults_.begin())](broken);
    return true;
}

} // namespace k4sim
