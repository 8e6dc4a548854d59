#include "sim/launcher/closing.h"

#include "sim/formats/short_number.h"
#include "sim/story/reasons.h"

#include <algorithm>
#include <array>
#include <cstring>

namespace k4sim {

namespace {

// The unit that the program's status -1, -2 ... tells of.
constexpr std::array<std::string_view, 5> units{"parallel-port", "Ethernet", "USB", "front-panel",
                                                "audio or AES/EBU"};

std::string joined(const std::vector<std::string>& texts) {
    std::string all;
    for (const std::string& text : texts)
        all += (all.empty() ? "" : ", ") + text;
    return all;
}

std::string virtual_seconds(const Observation& seen) {
    return with_decimals(in_seconds(seen.duration_us), 1) + " virtual seconds";
}

std::string rows_ok(const Observation& seen) {
    const auto ok = std::ranges::count(seen.rows, "OK", &Observation::Row::status);
    return std::to_string(ok) + " of " + std::to_string(seen.rows.size()) + " rows OK";
}

// Each row that does not read "OK", what it read, and why.
std::string rows_left(const Outcome& outcome, const Observation& seen) {
    std::string left = rows_not_ok(seen.rows, outcome.ledger);
    if (!left.empty()) return left;
    return seen.rows.empty() ? "no row was ever seen" : rows_ok(seen);
}

// The program tells by "check=1" that it looked for a start key.
std::string why_not_run(const Observation& seen) {
    if (seen.console.find(" check=1 ") != std::string::npos)
        return "no start key was held and the keyword run was missing";
    return "status 0 without a closing line of the self-test";
}

std::string where_died(const Observation& seen) {
    if (!seen.death) return "";
    return " in thread " + std::to_string(seen.death->thread) + " at " + seen.death->place;
}

std::string why_died(const Outcome& outcome, const Observation& seen) {
    std::string how = outcome.program;
    if (outcome.end.bare)
        return how + " was killed before it began: the virtual device was not loaded into it";
    if (outcome.end.by_signal)
        how += " died by signal " + std::to_string(outcome.end.code) + " (" +
               strsignal(outcome.end.code) + ")" + where_died(seen);
    else if (!seen.hopeless.empty())
        how += " " + seen.hopeless;
    else
        how += " ended with status " + std::to_string(outcome.end.code) +
               " and no closing line that tells it";
    return how;
}

std::string stop_place(const ScenarioStep& stop) {
    if (stop.trigger == ScenarioStep::Trigger::time) return short_seconds(stop.at_us) + " s";
    const bool console = stop.trigger == ScenarioStep::Trigger::console;
    return (console ? "console:" : "screen:") + stop.text;
}

std::string name_of(const FaultSetting& fault) {
    std::string name = "fault " + fault.name;
    if (!fault.value.empty()) name += "=" + fault.value;
    if (fault.at_us != 0) name += "@" + short_seconds(fault.at_us);
    return name;
}

std::ptrdiff_t failures(const Outcome& outcome) {
    return std::ranges::count(outcome.demands, false, &DemandResult::met);
}

// The whole record, or what is missing of it.
std::string record_told(std::string_view folder, std::string_view gap) {
    std::string words;
    if (!folder.empty()) words.append("; record in ").append(folder);
    if (!gap.empty()) words.append("; the record is cut: ").append(gap);
    return words;
}

} // namespace

std::string why(const Outcome& outcome, const Observation& seen, const Setup& setup) {
    switch (outcome.verdict) {
    case Verdict::passed:
        return rows_ok(seen);
    case Verdict::aborted:
        return rows_left(outcome, seen);
    case Verdict::not_started:
        return "the " + std::string(units[static_cast<std::size_t>(255 - outcome.end.code)]) +
               " test could not be started";
    case Verdict::not_run:
        return why_not_run(seen);
    case Verdict::died:
        return why_died(outcome, seen);
    case Verdict::undecided:
        break;
    }
    if (seen.stopped && setup.stop)
        return "the run was stopped at " + stop_place(*setup.stop) + ": " +
               rows_left(outcome, seen);
    if (!seen.limit) return "nothing more was heard of the device";
    return "the run reached its limit of " + short_seconds(seen.duration_us) +
           " virtual seconds: " + rows_left(outcome, seen);
}

std::vector<std::string> never_struck(const Setup& setup, const Observation& seen) {
    std::vector<std::string> missing;
    for (std::size_t i = 0; i < setup.faults.size(); ++i)
        if (!seen.struck.contains("fault " + std::to_string(i)))
            missing.push_back(name_of(setup.faults[i]));
    for (std::size_t i = 0; i < setup.steps.size(); ++i)
        if (!seen.struck.contains("step " + std::to_string(i)))
            missing.push_back("step " + std::to_string(i + 1) + " (" + setup.steps[i].action + ")");
    if (setup.stop && !seen.struck.contains("stop 0"))
        missing.push_back("stop at " + stop_place(*setup.stop));
    return missing;
}

bool as_expected(const Outcome& outcome, const std::vector<Verdict>& expected,
                 std::string_view gap) {
    if (expected.empty() && outcome.demands.empty()) return true;
    return gap.empty() && outcome.never_struck.empty() && failures(outcome) == 0 &&
           (expected.empty() || std::ranges::find(expected, outcome.verdict) != expected.end());
}

std::vector<std::string> failed_demands(const Outcome& outcome) {
    std::vector<std::string> lines;
    for (const DemandResult& demand : outcome.demands)
        if (!demand.met)
            lines.push_back(demand.place + ": " + demand.words + ": " + demand.failure);
    return lines;
}

std::string closing_line(const Outcome& outcome, const Observation& seen, std::string_view folder,
                         std::string_view gap) {
    std::string line = std::string(verdict_name(outcome.verdict)) + ": " + outcome.why +
                       (outcome.verdict == Verdict::passed ? " after " : ", after ") +
                       virtual_seconds(seen) + " (" + with_decimals(outcome.real_s, 1) + " s)";
    if (const Margin* margin = smallest(outcome.ledger))
        line += "; smallest margin " + in_words(*margin);
    if (!seen.unsafe().empty())
        line += "; the device is not left safe: " + joined(seen.unsafe()) + " on";
    if (!outcome.never_struck.empty()) line += "; never struck: " + joined(outcome.never_struck);
    if (failures(outcome) > 0)
        line += "; " + std::to_string(failures(outcome)) + " of " +
                std::to_string(outcome.demands.size()) + " demands failed";
    if (!outcome.end.devices_guarded)
        line +=
            "; this kernel has no Landlock: only seccomp kept the program from the real machine";
    return line + record_told(folder, gap);
}

} // namespace k4sim
