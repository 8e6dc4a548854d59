// The same seed and arguments give the same record, to the byte, whatever else the machine is
// doing; the golden records tell it of an idle machine.
#include "virtual_run.h"

#include <future>
#include <gtest/gtest.h>

namespace {

using namespace k4test;

RunResult automatic_run(std::uint64_t seed) {
    RunPlan plan;
    plan.automatic_operator = true;
    plan.seed = seed;
    return run_on_virtual_k4(plan);
}

TEST(Determinism, TheSameSeedIsTheSameRunAndAnotherIsNot) {
    const auto begin = [](std::uint64_t seed) {
        return std::async(std::launch::async, automatic_run, seed);
    };
    std::future<RunResult> runs[] = {begin(7), begin(7), begin(7), begin(8)};
    const RunResult first = runs[0].get();
    ASSERT_EQ(first.status, 0);
    for (std::future<RunResult>* again : {&runs[1], &runs[2]}) {
        const RunResult run = again->get();
        EXPECT_EQ(run.events_text, first.events_text);
        EXPECT_EQ(run.console, first.console);
    }
    EXPECT_NE(runs[3].get().events_text, first.events_text);
}

} // namespace
