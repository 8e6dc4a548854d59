#include "sim/launcher/demand.h"

#include "sim/formats/json.h"
#include "sim/formats/short_number.h"

#include <algorithm>
#include <fnmatch.h>
#include <limits>

namespace k4sim {

namespace {

constexpr Microseconds for_good = std::numeric_limits<Microseconds>::max();

std::string seconds(Microseconds t) { return short_seconds(t) + " s"; }

// As it stands in the record, but for the quotes of a text.
std::string member_of(const Json& event, const std::string& name) {
    if (const auto number = event.integer(name)) return std::to_string(*number);
    if (const auto flag = event.flag(name)) return *flag ? "true" : "false";
    return event.text(name).value_or("");
}

} // namespace

std::string Demand::words() const {
    std::string text = (never ? "never " : "") + sight.words;
    if (within_us) text += " within " + seconds(*within_us);
    if (after) text += " after " + after->words;
    if (after_us != 0) text += " after " + seconds(after_us);
    return text;
}

void Sightings::see_event(Microseconds t, const std::string& source, const std::string& name,
                          const Json& event) {
    if (sight_.kind != Sight::Kind::event || source != sight_.text) return;
    if (std::ranges::find(sight_.names, name) == sight_.names.end()) return;
    const bool fits = std::ranges::all_of(sight_.members, [&](const auto& member) {
        return event.has(member.first) &&
               fnmatch(member.second.c_str(), member_of(event, member.first).c_str(), 0) == 0;
    });
    if (fits) spans_.emplace_back(t, t);
}

void Sightings::see_console(Microseconds t, const std::string& console, std::size_t former) {
    if (sight_.kind != Sight::Kind::console) return;
    const std::size_t begun = std::min(former, sight_.text.size() - 1); // of it, at most
    if (console.find(sight_.text, former - begun) != std::string::npos) spans_.emplace_back(t, t);
}

void Sightings::see_screen(Microseconds t, const std::vector<ScreenRow>& rows) {
    if (sight_.kind != Sight::Kind::screen) return;
    const bool stood = !spans_.empty() && spans_.back().second == for_good;
    const bool stands = shows(rows);
    if (stands && !stood) spans_.emplace_back(t, for_good);
    if (!stands && stood) spans_.back().second = t - 1;
}

bool Sightings::shows(const std::vector<ScreenRow>& rows) const {
    return std::ranges::any_of(rows, [&](const ScreenRow& row) {
        return (row.label + " " + row.status).find(sight_.text) != std::string::npos;
    });
}

std::optional<Microseconds> Sightings::first_from(Microseconds t) const {
    std::optional<Microseconds> first;
    for (const auto& [from, to] : spans_)
        if (to >= t) first = std::min(first.value_or(for_good), std::max(from, t));
    return first;
}

DemandWatch::DemandWatch(const Demand& demand) : demand_(demand), sight_(demand.sight) {
    if (demand.after) after_.emplace(*demand.after);
}

DemandResult DemandWatch::result(Microseconds end_us) const {
    DemandResult result{demand_.place, demand_.words(), false, end_us, ""};
    const auto begin = after_ ? after_->first_from(0) : demand_.after_us;
    if (!begin) {
        result.failure = after_->words() + " was never seen";
        return result;
    }
    const Microseconds deadline = demand_.within_us ? *begin + *demand_.within_us : for_good;
    const auto seen = sight_.first_from(*begin);
    const bool in_time = seen && *seen <= deadline;
    result.met = in_time != demand_.never;
    result.at_us = in_time ? *seen : std::min(deadline, end_us);
    if (result.met) return result;
    result.failure = (in_time ? "seen at " : "not seen by ") + seconds(result.at_us);
    if (!in_time && deadline > end_us) result.failure += ", the end of the run";
    if (!in_time && seen) result.failure += ", but at " + seconds(*seen);
    return result;
}

} // namespace k4sim
