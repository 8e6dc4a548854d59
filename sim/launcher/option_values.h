// The values of options, from the text that was said. A text that can't be throws UsageError, with
// one line that says what can.
#pragma once

#include "sim/launcher/options.h"
#include "sim/models/nearest.h"
#include "sim/setup_choices.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace k4sim {

template <class Choices>
auto choice_of(const std::string& kind, const std::string& name, const Choices& choices) {
    const auto value = value_of(choices, name);
    if (!value) throw UsageError("--" + kind + ": " + no_such(kind, name, names_of(choices)));
    return *value;
}

// Such as "0.5dB,2s".
void set_tolerance(Options& options, const std::string& value);

std::uint64_t seed_of(const std::string& value);

// Above 0; in microseconds, of seconds.
std::int64_t some_time(const std::string& option, const std::string& value);

// "max", or a factor.
void set_pace(Setup& setup, const std::string& value);
void set_vcd(Options& options, const std::string& value);
// SECONDS, or console:TEXT or screen:TEXT
void set_stop(Options& options, const std::string& value);
void set_record(Options& options, const std::string& value);
// VERDICT[,VERDICT]
void set_expected(Options& options, const std::string& value);
void set_jobs(RunsPlan& plan, const std::string& value);
// I/N
void set_shard(Shard& shard, const std::string& value);
// A..B
void set_seeds(SoakPlan& plan, const std::string& value);
// NAME[=VALUE][@SECONDS]
void add_fault(Setup& setup, const std::string& text);
// Of what runs can come to.
std::vector<std::string_view> class_words();
std::string class_named(const std::string& name);
void set_port(Options& options, const std::string& value);

} // namespace k4sim
