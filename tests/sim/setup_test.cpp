#include "sim/setup.h"

#include <gtest/gtest.h>
#include <random>

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

void expect_equal(const Setup& a, const Setup& b) {
    EXPECT_EQ(a.board, b.board);
    EXPECT_EQ(a.operator_kind, b.operator_kind);
    EXPECT_EQ(a.seed, b.seed);
    EXPECT_EQ(a.pace, b.pace);
    EXPECT_EQ(a.limit_us, b.limit_us);
    EXPECT_EQ(a.report_fd, b.report_fd);
    ASSERT_EQ(a.faults.size(), b.faults.size());
    for (std::size_t i = 0; i < a.faults.size(); ++i) {
        EXPECT_EQ(a.faults[i].name, b.faults[i].name);
        EXPECT_EQ(a.faults[i].value, b.faults[i].value);
        EXPECT_EQ(a.faults[i].at_us, b.faults[i].at_us);
    }
    ASSERT_EQ(a.steps.size(), b.steps.size());
    for (std::size_t i = 0; i < a.steps.size(); ++i) {
        EXPECT_EQ(a.steps[i].trigger, b.steps[i].trigger);
        EXPECT_EQ(a.steps[i].at_us, b.steps[i].at_us);
        EXPECT_EQ(a.steps[i].text, b.steps[i].text);
        EXPECT_EQ(a.steps[i].action, b.steps[i].action);
    }
}

TEST(Setup, SurvivesTheWayThroughTheEnvironment) {
    std::mt19937 random(1);
    for (int i = 0; i < 500; ++i) {
        const k4sim::Setup setup = random_setup(random);
        const std::string text = encode(setup);
        ASSERT_EQ(text.find('\0'), std::string::npos);
        const auto decoded = decode(text);
        ASSERT_TRUE(decoded) << text;
        expect_equal(setup, *decoded);
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
