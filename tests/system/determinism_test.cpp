// The same seed and arguments give the same record, to the byte, whatever else the
// machine is doing.
#include "virtual_run.h"

#include <atomic>
#include <gtest/gtest.h>
#include <thread>

namespace {

using namespace k4test;

// Keeps every processor busy for as long as it lives.
class BusyMachine {
public:
    BusyMachine() {
        for (unsigned i = 0; i < std::max(2U, std::thread::hardware_concurrency()); ++i)
            threads_.emplace_back([this] {
                while (!stop_.load(std::memory_order_relaxed))
                    ++turns_;
            });
    }
    ~BusyMachine() {
        stop_ = true;
        for (std::thread& thread : threads_)
            thread.join();
    }

private:
    std::atomic<bool> stop_{false};
    std::atomic<unsigned> turns_{0};
    std::vector<std::thread> threads_;
};

RunResult automatic_run(std::uint64_t seed) {
    RunPlan plan;
    plan.automatic_operator = true;
    plan.seed = seed;
    return run_on_virtual_k4(plan);
}

TEST(Determinism, TwentyRunsAreOne) {
    const RunResult first = automatic_run(7);
    ASSERT_FALSE(first.events_text.empty());
    ASSERT_EQ(first.status, 0);
    for (int run = 1; run < 10; ++run) {
        const RunResult again = automatic_run(7);
        ASSERT_EQ(again.events_text, first.events_text) << "idle machine, run " << run;
        ASSERT_EQ(again.console, first.console);
    }
    const BusyMachine busy;
    for (int run = 10; run < 20; ++run) {
        const RunResult again = automatic_run(7);
        ASSERT_EQ(again.events_text, first.events_text) << "busy machine, run " << run;
        ASSERT_EQ(again.console, first.console);
    }
}

TEST(Determinism, AnotherSeedIsAnotherRun) {
    EXPECT_NE(automatic_run(1).events_text, automatic_run(2).events_text);
}

} // namespace
