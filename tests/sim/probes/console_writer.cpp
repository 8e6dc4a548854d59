// Writes to the console in every way a program may, with a byte that is no ASCII, then
// ends as the argument says: "exit", "deadlock" or "forever".
#include <cstdio>
#include <cstring>
#include <pthread.h>
#include <unistd.h>

namespace {

void wait_for_ever() {
    pthread_mutex_t mutex = PTHREAD_MUTEX_INITIALIZER;
    pthread_mutex_lock(&mutex);
    pthread_mutex_lock(&mutex);
}

} // namespace

int main(int argc, char** argv) {
    const char* end = argc > 1 ? argv[1] : "exit";
    std::printf("output \"quoted\"\n");
    usleep(1000);
    std::fprintf(stderr, "error\r\n");
    usleep(1000);
    if (write(STDOUT_FILENO, "past stdio \xE4\n", 13) != 13) return 1;
    usleep(1000);
    std::printf("no line end");
    if (std::strcmp(end, "deadlock") == 0) wait_for_ever();
    while (std::strcmp(end, "forever") == 0)
        usleep(1000);
    return 3;
}
