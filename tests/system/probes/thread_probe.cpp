// thread_probe WAY: a thread that virtual time never passes in, one that makes some call without
// end, or two ("writers") that write lines of two pieces each.
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <mutex>
#include <poll.h>
#include <pthread.h>
#include <sys/io.h>
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

extern "C" [[gnu::noinline]] int use_up_stack(int depth) {
    volatile char room[1000] = {};
    return depth < 0 ? room[0] : use_up_stack(depth + 1) + room[depth % 1000];
}

// At an instruction shortly after one that reaches a port.
extern "C" [[gnu::noinline]] void fail_after_port() {
    static int* volatile nowhere = nullptr;
    iopl(3);
    *nowhere = inb(0x100);
}

// Ways to die, and calls without end.
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
    {"stack", [] { use_up_stack(0); }},
    {"stack-of-thread", [] { std::thread([] { use_up_stack(0); }).join(); }},
    {"after-port", fail_after_port},
    {"kill", [] { kill(getpid(), SIGTERM); }},
    {"abort", [] { pthread_kill(pthread_self(), SIGABRT); }},
    {"alarm", [] { ualarm(1000, 0), pause(); }},
    {"default-again",
     [] {
         std::signal(SIGINT, [](int) {});
         if (std::signal(SIGINT, SIG_DFL) != SIG_DFL) std::raise(SIGINT);
     }},
    {"from-outside",
     [] {
         if (system("kill -TERM $PPID") != 0) _exit(9);
         spin_for_good();
     }},
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
