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

TEST(Determinism, TheSameSeedIsTheSameRunAndAnotherIsNot) {
    const RunResult first = automatic_run(7);
    ASSERT_EQ(first.status, 0);
    EXPECT_NE(automatic_run(8).events_text, first.events_text);
    const BusyMachine busy;
    for (int again = 0; again < 2; ++again) {
        const RunResult run = automatic_run(7);
        EXPECT_EQ(run.events_text, first.events_text);
        EXPECT_EQ(run.console, first.console);
    }
}

} // namespace
