#include "fault_case.h"

#include "virtual_run.h"

#include <algorithm>
#include <cctype>
#include <gmock/gmock.h>

namespace k4test {

namespace {

// Longer than the operator's patience with a picture that does not change.
constexpr int limit_s = 260;

std::string last_status(const RunResult& run, std::string_view label) {
    for (const auto& unit : run.report.at("units"))
        if (unit.at("name") == label) return unit.at("status");
    return "no such row";
}

bool has_seen(const RunResult& run, std::string_view event) {
    const std::size_t slash = event.find('/');
    return run.count_events(event.substr(0, slash), event.substr(slash + 1)) > 0;
}

} // namespace

void PrintTo(const FaultCase& one, std::ostream* out) { *out << one.fault << " on " << one.board; }

std::string name_of(const testing::TestParamInfo<FaultCase>& info) {
    std::string name = std::string(info.param.fault) + "_on_" + info.param.board;
    std::replace_if(
        name.begin(), name.end(), [](unsigned char c) { return std::isalnum(c) == 0; }, '_');
    return name;
}

void expect_verdict(const FaultCase& expected) {
    RunPlan plan;
    plan.board = expected.board;
    plan.faults = {expected.fault};
    plan.automatic_operator = true;
    plan.limit_s = limit_s;
    const RunResult run = run_on_virtual_k4(plan);
    EXPECT_EQ(run.verdict(), expected.verdict);
    EXPECT_NE(run.console.find(expected.console), std::string::npos) << run.console;
    EXPECT_TRUE(*expected.event == '\0' || has_seen(run, expected.event)) << run.events_text;
    const std::string name = plan.faults[0].substr(0, plan.faults[0].find_first_of("=@"));
    EXPECT_EQ(run.count_events("fault", name), 1);
    if (*expected.label != '\0')
        EXPECT_THAT(last_status(run, expected.label), testing::MatchesRegex(expected.status));
    else
        EXPECT_TRUE(run.report.at("units").empty());
}

} // namespace k4test
