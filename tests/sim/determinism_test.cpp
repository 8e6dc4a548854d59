#include "sim/time/scheduler.h"

#include "program_threads.h"

#include <array>
#include <memory>
#include <random>
#include <unistd.h>

using namespace k4sim;

namespace {

constexpr int thread_count = 7;
constexpr int sleeps_per_thread = 1000;

// Which thread came when, of threads that sleep for random times and share a mutex.
std::vector<std::pair<int, Microseconds>> trace_of_one_run() {
    std::vector<std::pair<int, Microseconds>> trace;
    pthread_mutex_t mutex = PTHREAD_MUTEX_INITIALIZER;
    const Microseconds start = scheduler().now();
    const auto body = [&](int number) {
        std::minstd_rand random(static_cast<unsigned>(number + 1));
        for (int i = 0; i < sleeps_per_thread; ++i) {
            usleep(random() % 20'000);
            pthread_mutex_lock(&mutex);
            trace.emplace_back(number, scheduler().now() - start);
            if (random() % 4 == 0) usleep(random() % 5000);
            pthread_mutex_unlock(&mutex);
            scheduler().spend(static_cast<Microseconds>(random() % 700));
        }
    };
    std::array<std::unique_ptr<ProgramThread>, thread_count> threads;
    for (int number = 0; number < thread_count; ++number)
        threads[static_cast<std::size_t>(number)] =
            std::make_unique<ProgramThread>([&body, number] { body(number); });
    for (const auto& thread : threads)
        thread->join();
    return trace;
}

TEST(Determinism, TheSameThreadsDoTheSameToTheMicrosecond) {
    const auto first = trace_of_one_run();
    EXPECT_EQ(first.size(), std::size_t{thread_count * sleeps_per_thread});
    for (int repetition = 0; repetition < 5; ++repetition)
        EXPECT_EQ(trace_of_one_run(), first);
}

} // namespace
