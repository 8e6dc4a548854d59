// A race on purpose: two threads count in the same variable without a lock. Under
// ThreadSanitizer on the virtual K/4 it must be reported although the two never run at
// the same time; or else that check of the program proves nothing. With an argument a
// mutex guards the counter, and nothing must be reported.
#include <mutex>
#include <thread>
#include <unistd.h>

int main(int argc, char**) {
    std::mutex mutex;
    int counter = 0;
    const auto count = [&] {
        for (int round = 0; round < 1000; ++round) {
            usleep(100);
            std::unique_lock lock(mutex, std::defer_lock);
            if (argc > 1) lock.lock();
            ++counter;
        }
    };
    std::thread first(count), second(count);
    first.join();
    second.join();
    return counter == 2000 ? 0 : 1;
}
