// Whole runs, line by line: what was said and what happened, when and in which order.
#include "golden.h"
#include "virtual_run.h"

#include <gmock/gmock.h>
#include <regex>

namespace {

using namespace k4test;

struct GoldenRun {
    const char* name; // of its file in golden/
    const char* board;
    const char* keyword = "";
    const char* fault = "";
    const char* operation = ""; // of the third second, instead of the automatic operator
};

void PrintTo(const GoldenRun& run, std::ostream* out) { *out << run.name; }

constexpr GoldenRun golden_runs[] = {
    {.name = "aes", .board = "aes"},
    {.name = "plain", .board = "plain"},
    {.name = "i2c", .board = "i2c"},
    {.name = "engine", .board = "engine"},
    {.name = "nomicboost", .board = "aes", .keyword = "nomicboost"},
    {.name = "nokeypad", .board = "aes", .keyword = "nokeypad"},
    {.name = "noanalog", .board = "plain", .keyword = "noanalog"},
    {.name = "abort", .board = "plain", .operation = "press E"},
    {.name = "late-adapters", .board = "aes", .fault = "serial-late=7"},
    {.name = "lost-lock", .board = "aes", .fault = "aes-lock-lost@10"},
};

// Tells pictures apart (FNV-1a).
std::string sum_of(const Picture& picture) {
    std::uint32_t sum = 0x811C9DC5;
    for (const std::uint8_t grey : picture)
        sum = (sum ^ grey) * 0x01000193;
    return std::to_string(sum);
}

std::string text_of(const RunResult& run) {
    std::string text = run.events_text + run.console;
    for (const Picture& picture : run.pictures)
        text += "picture " + sum_of(picture) + "\n";
    text += as_text(run.last_lit()) + "final " + sum_of(run.final_picture) + "\n";
    return text + "verdict " + run.verdict() + ", status " + std::to_string(run.status) + "\n";
}

// Without what another day would change.
std::string record_of(const GoldenRun& golden) {
    RunPlan plan;
    plan.board = golden.board;
    plan.keywords.emplace_back(golden.keyword);
    if (*golden.fault != '\0') plan.faults = {golden.fault};
    plan.automatic_operator = *golden.operation == '\0';
    if (!plan.automatic_operator) plan.scenario = one_a_second({golden.operation, "press E"});
    return std::regex_replace(text_of(run_on_virtual_k4(plan)),
                              std::regex("[A-Z][a-z]{2} [ 0-9]\\d \\d{4}"), "BUILD-DATE");
}

class Golden : public testing::TestWithParam<GoldenRun> {};

TEST_P(Golden, RunIsAsWrittenDown) {
    expect_as_written_down(GetParam().name, record_of(GetParam()));
}

TEST(GoldenTexts, AreAsWrittenDown) {
    for (const std::string word : {"--help", "keys", "faults"}) {
        const CommandResult told = run_command({K4_SIM, word});
        EXPECT_EQ(told.status, 0) << word;
        expect_as_written_down("k4sim-" + word.substr(word.rfind('-') + 1), told.out);
    }
}

INSTANTIATE_TEST_SUITE_P(Whole, Golden, testing::ValuesIn(golden_runs), [](const auto& run) {
    std::string name = run.param.name;
    std::erase(name, '-');
    return name;
});

} // namespace
