// A race on purpose: two threads count in the same variable without a lock. Under
// ThreadSanitizer on the virtual K/4 it must be reported although the two never run at
// the same time; or else that check of the program proves nothing. With the argument
// "locked" a mutex guards the counter, and nothing must be reported.
#include <cstdio>
#include <cstring>
#include <pthread.h>
#include <unistd.h>

namespace {

constexpr int rounds = 1000;

pthread_mutex_t mutex = PTHREAD_MUTEX_INITIALIZER;
bool locked = false;
int counter = 0;

void* count(void*) {
    for (int round = 0; round < rounds; ++round) {
        usleep(100);
        if (locked) pthread_mutex_lock(&mutex);
        ++counter;
        if (locked) pthread_mutex_unlock(&mutex);
    }
    return nullptr;
}

} // namespace

int main(int argc, char** argv) {
    locked = argc > 1 && std::strcmp(argv[1], "locked") == 0;
    pthread_t threads[2];
    for (pthread_t& thread : threads)
        if (pthread_create(&thread, nullptr, count, nullptr) != 0) return 1;
    for (const pthread_t thread : threads)
        if (pthread_join(thread, nullptr) != 0) return 1;
    std::printf("counted %d\n", counter);
    return counter == 2 * rounds ? 0 : 1;
}
