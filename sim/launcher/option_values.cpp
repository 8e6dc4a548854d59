#include "sim/launcher/option_values.h"

#include "sim/campaign/sighting.h"
#include "sim/formats/short_number.h"
#include "sim/launcher/fault_setting.h"

#include <algorithm>
#include <charconv>
#include <optional>

namespace k4sim {

namespace {

template <class Number>
std::optional<Number> whole_text_number(const std::string& text) {
    Number number{};
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc{} || end != text.data() + text.size()) return std::nullopt;
    return number;
}

std::int64_t microseconds(const std::string& option, const std::string& text) {
    const auto duration = from_seconds(whole_text_number<double>(text));
    if (!duration)
        throw UsageError(option + ": \"" + text +
                         "\" is no number of seconds; say for example 600");
    return *duration;
}

} // namespace

void set_tolerance(Options& options, const std::string& value) {
    options.tolerance = Tolerance::from(value);
    if (!options.tolerance)
        throw UsageError("--tolerance: \"" + value +
                         "\" is none; say for example 0.5dB,2s, or 10% of everything");
}

std::uint64_t seed_of(const std::string& value) {
    const auto seed = whole_text_number<std::uint64_t>(value);
    if (!seed)
        throw UsageError("--seed: \"" + value + "\" is no seed; say a whole number from 0 on");
    return *seed;
}

void set_pace(Setup& setup, const std::string& value) {
    setup.pace.reset();
    if (value == "max") return;
    setup.pace = whole_text_number<double>(value);
    if (!is_factor(setup.pace))
        throw UsageError("--pace: \"" + value +
                         "\" is no pace; say max, or a factor above 0 such as 1");
}

std::int64_t some_time(const std::string& option, const std::string& value) {
    const std::int64_t time_us = microseconds(option, value);
    if (time_us == 0) throw UsageError(option + ": a run needs some time; say for example 600");
    return time_us;
}

void set_vcd(Options& options, const std::string& value) {
    if (value.empty()) throw UsageError("--vcd needs the name of a file");
    options.vcd = value;
}

void set_stop(Options& options, const std::string& value) {
    using Trigger = ScenarioStep::Trigger;
    const std::size_t colon = value.find(':');
    const std::string kind = value.substr(0, colon);
    ScenarioStep& stop = options.setup.stop.emplace();
    if (kind != "console" && kind != "screen") {
        stop.at_us = microseconds("--stop-at", value);
        return;
    }
    if (colon != std::string::npos) stop.text = value.substr(colon + 1);
    if (stop.text.empty())
        throw UsageError("--stop-at: say what to wait for, as in console:TEXT or screen:TEXT");
    stop.trigger = kind == "console" ? Trigger::console : Trigger::screen;
}

void set_record(Options& options, const std::string& value) {
    if (value.empty()) throw UsageError("--record needs the name of a folder");
    options.record = value;
}

void set_expected(Options& options, const std::string& value) {
    options.expected =
        verdicts_of(value, [](const std::string& why) { throw UsageError("--expect: " + why); });
}

void set_jobs(RunsPlan& plan, const std::string& value) {
    const auto jobs = whole_text_number<unsigned>(value);
    if (jobs < 1 || jobs > 1000)
        throw UsageError("--jobs: \"" + value + "\" is no number of runs at a time; say 1 to 1000");
    plan.jobs = *jobs;
}

void set_shard(Shard& shard, const std::string& value) {
    const std::size_t slash = std::min(value.find('/'), value.size());
    const auto number = whole_text_number<unsigned>(value.substr(0, slash));
    const auto of = whole_text_number<unsigned>(value.substr(std::min(slash + 1, value.size())));
    if (number < 1 || of < number)
        throw UsageError("--shard: \"" + value +
                         "\" is no part of a whole; say for example 3/8, the third of eight");
    shard = {*number, *of};
}

void set_seeds(SoakPlan& plan, const std::string& value) {
    const std::size_t dots = std::min(value.find(".."), value.size());
    const auto first = whole_text_number<std::uint64_t>(value.substr(0, dots));
    const auto last =
        whole_text_number<std::uint64_t>(value.substr(std::min(dots + 2, value.size())));
    if (!first || last < first || *last - *first >= 1'000'000'000)
        throw UsageError("--seeds: \"" + value +
                         "\" are no seeds; say for example 1..1000, from the first to the last");
    plan.first = *first;
    plan.last = *last;
}

void add_fault(Setup& setup, const std::string& text) {
    const auto fault = fault_setting(text);
    if (!fault) microseconds("--fault " + text, text.substr(text.rfind('@') + 1)); // throws
    setup.faults.push_back(fault.value());
}

std::vector<std::string_view> class_words() { return {class_names().begin(), class_names().end()}; }

std::string class_named(const std::string& name) {
    const std::vector<std::string_view> names = class_words();
    if (std::ranges::find(names, name) == names.end())
        throw UsageError("--expected: " + no_such("class", name, names));
    return name;
}

void set_port(Options& options, const std::string& value) {
    options.port = whole_text_number<std::uint16_t>(value);
    if (options.port.value_or(0) == 0)
        throw UsageError("--port: \"" + value + "\" is no port; say a number from 1 to 65535");
}

} // namespace k4sim
