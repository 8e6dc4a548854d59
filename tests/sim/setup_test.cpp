#include "sim/setup.h"

#include <gtest/gtest.h>
#include <random>
#include <tuple>
#include <vector>

namespace {

using namespace k4sim;

std::string random_text(std::mt19937& random) {
    std::string text;
    for (unsigned n = random() % 12; n > 0; --n)
        text += static_cast<char>(random() % 256);
    return text;
}

Setup random_setup(std::mt19937& random) {
    const auto random_time = [&] { return static_cast<std::int64_t>(random()); };
    Setup setup;
    setup.board = static_cast<Board>(random() % 5);
    setup.operator_kind = static_cast<OperatorKind>(random() % 2);
    setup.seed = random() * 0x1'0000'0001ULL;
    if (random() % 2) setup.pace = 1.0 / (1 + random() % 1000);
    setup.limit_us = random_time();
    setup.report_fd = static_cast<int>(random() % 100) - 1;
    for (unsigned n = random() % 4; n > 0; --n)
        setup.faults.push_back({random_text(random), random_text(random), random_time()});
    for (unsigned n = random() % 4; n > 0; --n)
        setup.steps.push_back({static_cast<ScenarioStep::Trigger>(random() % 4), random_time(),
                               random_text(random), random_text(random)});
    return setup;
}

// All that the test has put in, comparable.
auto contents(const Setup& setup) {
    std::vector<std::tuple<int, std::int64_t, std::string, std::string>> lists;
    for (const FaultSetting& fault : setup.faults)
        lists.emplace_back(-1, fault.at_us, fault.name, fault.value);
    for (const ScenarioStep& step : setup.steps)
        lists.emplace_back(static_cast<int>(step.trigger), step.at_us, step.text, step.action);
    return std::tuple(setup.board, setup.operator_kind, setup.seed, setup.pace, setup.limit_us,
                      setup.report_fd, lists);
}

TEST(Setup, SurvivesTheWayThroughTheEnvironment) {
    std::mt19937 random(1);
    for (int i = 0; i < 500; ++i) {
        const k4sim::Setup setup = random_setup(random);
        const std::string text = encode(setup);
        ASSERT_EQ(text.find('\0'), std::string::npos);
        const auto decoded = decode(text);
        ASSERT_TRUE(decoded) << text;
        EXPECT_TRUE(contents(setup) == contents(*decoded)) << text;
    }
}

TEST(Setup, MalformedTextIsRefused) {
    for (const char* text : {"board",          "board aes",
                             "board aex\n",    "board aes aes\n",
                             "seed -1\n",      "seed 1x\n",
                             "pace 0\n",       "pace nan\n",
                             "limit\n",        "fault a b\n",
                             "fault a b -1\n", "limit -1\n",
                             "limit 1 \n",     "step 0 -1 a b\n",
                             "fault a %4 0\n", "fault a %zz 0\n",
                             "step 4 0 a b\n", "step -1 0 a b\n",
                             "step 0 0 a\n",   "operator bob\n",
                             "colour red\n",   "\n"})
        EXPECT_FALSE(decode(text)) << text;
    EXPECT_TRUE(decode(""));
}

} // namespace
