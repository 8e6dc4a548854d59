// thread_probe WAY: a thread that virtual time never passes in, one that makes some call without
// end, or two ("writers") that write lines of two pieces each.
#include <csignal>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <mutex>
#include <poll.h>
#include <pthread.h>
#include <thread>
#include <unistd.h>
#include <utility>

// Found by name.
extern "C" [[gnu::noinline]] void spin_for_good() {
    for (volatile bool go_on = true; go_on;) {
    }
}

static void write_line() {
    std::fputs("one ", stdout);
    std::fputs("line\n", stdout);
}

// Calls without end.
static void call_for_good(void (*call)()) {
    for (;;)
        call();
}

static const std::pair<const char*, void (*)()> calls[] = {
    {"clock", [] { std::time(nullptr); }},
    {"mutex",
     [] {
         static std::mutex mutex;
         const std::lock_guard lock(mutex);
     }},
    {"poll", [] { poll(nullptr, 0, 0); }},
    {"sleep", [] { usleep(0); }},
    {"flush", [] { std::fflush(stdout); }},
};

int main(int, char** argv) {
    const char* const way = argv[1];
    for (const auto& [name, call] : calls)
        if (std::strcmp(way, name) == 0) call_for_good(call);
    if (std::strcmp(way, "writers") == 0) {
        std::thread other(write_line);
        write_line();
        other.join();
        return 0;
    }
    std::thread([way] {
        pthread_setname_np(pthread_self(), way);
        sigset_t all;
        sigfillset(&all);
        if (std::strcmp(way, "deaf") == 0) pthread_sigmask(SIG_BLOCK, &all, nullptr);
        char c = 0;
        if (std::strcmp(way, "reader") == 0)
            while (read(0, &c, 1) > 0) {
            }
        spin_for_good();
    }).join();
}
