#include "sim/setup.h"

#include <gtest/gtest.h>
#include <tuple>
#include <vector>

namespace {

using namespace k4sim;

// Every byte that a text can have.
std::string all_bytes() {
    std::string text;
    for (int byte = 0; byte < 256; ++byte)
        text += static_cast<char>(byte);
    return text;
}

// Nothing in it has its default value.
Setup full_setup() {
    Setup setup;
    setup.operator_kind = OperatorKind::automatic;
    setup.seed = 0x8000'0000'0000'0001ULL;
    setup.pace = 1.0 / 3;
    setup.limit_us = 9'000'000'000;
    setup.report_fd = 17;
    setup.faults = {{"key-held", "7", 5'000'000'000}, {"", all_bytes(), 1}, {" ", "-", 0}};
    for (const int trigger : {0, 1, 2, 3})
        setup.steps.push_back({static_cast<ScenarioStep::Trigger>(trigger), 6'000'000'000,
                               all_bytes(), "press 7 " + std::to_string(trigger)});
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
    for (const int board : {0, 1, 2, 3, 4}) {
        for (const bool full : {false, true}) {
            k4sim::Setup setup = full ? full_setup() : k4sim::Setup{};
            setup.board = static_cast<Board>(board);
            const std::string text = encode(setup);
            ASSERT_EQ(text.find('\0'), std::string::npos);
            const auto decoded = decode(text);
            ASSERT_TRUE(decoded) << text;
            EXPECT_TRUE(contents(setup) == contents(*decoded)) << text;
        }
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
