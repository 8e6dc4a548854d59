// The same seed and arguments give the same record, to the byte, whatever else the machine is
// doing; the golden records tell it of an idle machine.
#include "virtual_run.h"

#include <future>
#include <gtest/gtest.h>
#include <utility>

namespace {

using namespace k4test;

RunResult automatic_run(std::uint64_t seed, const std::string& schedule) {
    RunPlan plan;
    plan.schedule = schedule;
    plan.automatic_operator = true;
    plan.seed = seed;
    return run_on_virtual_k4(plan);
}

TEST(Determinism, TheSameSeedIsTheSameRunAndAnotherIsNot) {
    std::string fair;
    for (const std::string schedule : {"fair", "random"}) {
        const auto begin = [&](std::uint64_t seed) {
            return std::async(std::launch::async, automatic_run, seed, schedule);
        };
        std::future<RunResult> runs[] = {begin(7), begin(7), begin(7), begin(8)};
        const RunResult first = runs[0].get();
        EXPECT_EQ(first.status, 0);
        for (std::future<RunResult>* again : {&runs[1], &runs[2]}) {
            const RunResult run = again->get();
            EXPECT_EQ(run.events_text, first.events_text);
            EXPECT_EQ(run.console, first.console);
        }
        const RunResult other = runs[3].get();
        EXPECT_EQ(other.status, 0);
        EXPECT_NE(other.events_text, first.events_text);
        EXPECT_NE(std::exchange(fair, first.events_text), first.events_text);
    }
}

// Two threads that write a line in two pieces each: in turn they never meet.
TEST(Determinism, ARandomScheduleFindsWhatDependsOnTheOrderOfThreads) {
    const std::string apart = "one line\none line\n";
    int found = 0;
    for (int seed = 0; seed < 20; ++seed)
        for (const char* schedule : {"fair", "random"}) {
            const std::string out =
                run_command({K4_SIM, "run", "--seed", std::to_string(seed), "--schedule", schedule,
                             "--", K4_THREAD_PROBE "64", "writers"})
                    .out;
            EXPECT_TRUE(out == apart || *schedule == 'r') << seed << out;
            found += out != apart;
        }
    EXPECT_GT(found, 0);
}

} // namespace
