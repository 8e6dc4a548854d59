// A race on purpose: two threads count in the same variable without a lock. Under
// ThreadSanitizer on the virtual K/4 it must be reported although the two never run at
// the same time; or else that check of the program proves nothing. With an argument a
// mutex guards the counter, and nothing must be reported.
#include <cstdio>
#include <mutex>
#include <thread>
#include <unistd.h>

int main(int argc, char**) {
    constexpr int rounds = 1000;
    const bool locked = argc > 1;
    std::mutex mutex;
    int counter = 0;
    const auto count = [&] {
        for (int round = 0; round < rounds; ++round) {
            usleep(100);
            std::unique_lock lock(mutex, std::defer_lock);
            if (locked) lock.lock();
            ++counter;
        }
    };
    std::thread first(count), second(count);
    first.join();
    second.join();
    std::printf("counted %d\n", counter);
    return counter == 2 * rounds ? 0 : 1;
}
