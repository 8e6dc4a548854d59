// call_probe: what libc answers to calls with odd arguments, a line each. On the virtual device and
// without it that must be the same.
#include <array>
#include <cerrno>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <fcntl.h>
#include <functional>
#include <net/if.h>
#include <poll.h>
#include <pthread.h>
#include <semaphore.h>
#include <spawn.h>
#include <string>
#include <sys/epoll.h>
#include <sys/eventfd.h>
#include <sys/ioctl.h>
#include <sys/select.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <sys/timerfd.h>
#include <sys/wait.h>
#include <termios.h>
#include <threads.h>
#include <unistd.h>
#include <vector>

namespace {

using Call = std::function<long()>;

constexpr timespec bad_times[] = {{0, -1}, {0, 1'000'000'000}, {-1, 0}};
constexpr timespec moment{0, 1'000'000}, past{1, 0};
constexpr clockid_t no_clock = 77;
const char* volatile nowhere = nullptr;

void say(const std::string& name, const Call& call) {
    errno = 0;
    const long result = call();
    std::printf("%s: %ld %d\n", name.c_str(), result, result == -1 ? errno : 0);
}

// With each of the times that are none, and with one that has passed or passes soon.
void say_times(const std::string& name, const timespec& good,
               const std::function<long(const timespec*)>& call) {
    for (const timespec& time : bad_times)
        say(name + ", bad time", [&] { return call(&time); });
    say(name, [&] { return call(&good); });
}

void* wait_for_end(void* semaphore) {
    sem_wait(static_cast<sem_t*>(semaphore));
    return nullptr;
}

// A thread that waits as long as this lives.
struct Other {
    Other() {
        sem_init(&end, 0, 0);
        pthread_create(&handle, nullptr, wait_for_end, &end);
    }
    ~Other() {
        sem_post(&end);
        pthread_join(handle, nullptr);
    }

    sem_t end{};
    pthread_t handle{};
};

int seen = 0;

void signals() {
    sigset_t none{}, some{};
    sigaddset(&some, SIGUSR1);
    pthread_sigmask(SIG_BLOCK, &some, nullptr);
    say_times("sigtimedwait", moment,
              [&](const timespec* time) { return sigtimedwait(&some, nullptr, time); });
    raise(SIGUSR1);
    say("sigtimedwait, pending", [&] { return sigtimedwait(&some, nullptr, &moment); });
    std::signal(SIGUSR1, [](int number) { seen += number; });
    raise(SIGUSR1);
    say("sigsuspend, pending", [&] { return sigsuspend(&none); });
    const Other other;
    for (const int number : {-1, 0, SIGUSR1, NSIG}) {
        say("kill", [&] { return kill(getpid(), number); });
        say("sigqueue", [&] { return sigqueue(getpid(), number, {}); });
        say("pthread_kill", [&] { return pthread_kill(other.handle, number); });
        say("pthread_sigqueue", [&] { return pthread_sigqueue(other.handle, number, {}); });
        say("sigaction", [&] { return sigaction(number, nullptr, nullptr); });
    }
    for (const int number : {SIGKILL, SIGTERM, SIGABRT, SIGHUP}) {
        struct sigaction action {
        }, former{};
        say("sigaction", [&] { return sigaction(number, &action, &former); });
        say("is default", [&] { return former.sa_handler == SIG_DFL && former.sa_flags == 0; });
        say("signal", [&] { return std::signal(number, SIG_IGN) == SIG_DFL; });
        say("signal", [&] { return std::signal(number, SIG_DFL) == SIG_IGN; });
    }
    pthread_sigmask(SIG_UNBLOCK, &some, nullptr);
    say("handled", [] { return seen; });
}

void clocks() {
    timespec time{};
    tm calendar{};
    for (const clockid_t clock :
         {CLOCK_REALTIME, CLOCK_BOOTTIME, CLOCK_THREAD_CPUTIME_ID, no_clock}) {
        say("clock_gettime", [&] { return clock_gettime(clock, &time); });
        say_times("clock_nanosleep", past, [&](const timespec* until) {
            return clock_nanosleep(clock, TIMER_ABSTIME, until, nullptr);
        });
    }
    say_times("nanosleep", moment, [](const timespec* span) { return nanosleep(span, nullptr); });
    say_times("thrd_sleep", moment, [](const timespec* span) { return thrd_sleep(span, nullptr); });
    say("usleep", [] { return usleep(0); });
    say("sleep", [] { return sleep(0); });
    say("time", [&] {
        const std::time_t now = std::time(nullptr);
        gmtime_r(&now, &calendar);
        return calendar.tm_year > 100;
    });
}

void timers() {
    std::signal(SIGALRM, SIG_IGN);
    timer_t timer{};
    itimerspec former{};
    sigevent event{};
    for (const int number : {0, SIGUSR1, NSIG})
        for (const int notice : {SIGEV_SIGNAL, SIGEV_NONE}) {
            event.sigev_notify = notice;
            event.sigev_signo = number;
            say("timer_create", [&] { return timer_create(CLOCK_MONOTONIC, &event, &timer); });
        }
    say("timer_create", [&] { return timer_create(no_clock, nullptr, &timer); });
    say("timer_create", [&] { return timer_create(CLOCK_MONOTONIC, nullptr, &timer); });
    say_times("timer_settime", {100, 0}, [&](const timespec* time) {
        const itimerspec setting{{5, 0}, *time};
        return timer_settime(timer, 0, &setting, nullptr);
    });
    say("timer_gettime", [&] { return timer_gettime(timer, &former); });
    say("left", [&] { return (former.it_value.tv_sec + 1) / 10 + former.it_interval.tv_sec; });
    const itimerspec begun{{0, 0}, {1, 0}}; // a second after the start of the system, or from now
    for (const int flags : {0, TIMER_ABSTIME}) {
        timer_settime(timer, flags, &begun, nullptr);
        timer_gettime(timer, &former);
        say("runs", [&] { return former.it_value.tv_sec + former.it_value.tv_nsec > 0; });
    }
    say("timer_getoverrun", [&] { return timer_getoverrun(timer); });
    say("timer_delete", [&] { return timer_delete(timer); });

    for (const int clock : {CLOCK_MONOTONIC, CLOCK_THREAD_CPUTIME_ID, no_clock})
        for (const int flags : {int{TFD_CLOEXEC}, 1})
            say("timerfd_create", [&] {
                const int file = timerfd_create(clock, flags);
                return file < 0 ? file : fcntl(file, F_GETFD) + close(file);
            });
    const int file = timerfd_create(CLOCK_MONOTONIC, TFD_NONBLOCK);
    std::uint64_t count = 0;
    for (const int flags : {0, 0x100})
        say_times("timerfd_settime", {100, 0}, [&](const timespec* time) {
            const itimerspec setting{{5, 0}, *time};
            return timerfd_settime(file, flags, &setting, nullptr);
        });
    say("timerfd_gettime", [&] { return timerfd_gettime(file, &former); });
    say("left", [&] { return (former.it_value.tv_sec + 1) / 10 + former.it_interval.tv_sec; });
    say("read, not yet", [&] { return read(file, &count, sizeof count); });
    say("read, short", [&] { return read(file, &count, 4); });
    say("write", [&] { return write(file, &count, sizeof count); });
    say("timerfd_settime, no timer", [&] { return timerfd_settime(1000, 0, &former, nullptr); });
    close(file);

    say("alarm", [] { return alarm(5); });
    say("alarm, off", [] { return alarm(0); });
    say("ualarm", [] { return ualarm(900'000, 0); });
    say("ualarm, off", [] { return ualarm(0, 0) > 800'000; });
    for (const int which : {int{ITIMER_REAL}, 9})
        for (const suseconds_t us : {0L, -1L, 1'000'000L}) {
            const itimerval setting{{7, us}, {100, 0}};
            itimerval was{};
            say("setitimer", [&] { return setitimer(__itimer_which(which), &setting, &was); });
            say("getitimer", [&] { return getitimer(__itimer_which(which), &was); });
            say("interval", [&] { return was.it_interval.tv_sec; });
        }
    alarm(0);
}

void locks() {
    static sem_t semaphore; // a thread may still look at it
    sem_init(&semaphore, 0, 0);
    say("sem_trywait", [&] { return sem_trywait(&semaphore); });
    say_times("sem_timedwait", past,
              [&](const timespec* time) { return sem_timedwait(&semaphore, time); });
    for (const clockid_t clock : {CLOCK_MONOTONIC, no_clock})
        say_times("sem_clockwait", past,
                  [&](const timespec* time) { return sem_clockwait(&semaphore, clock, time); });
    sem_post(&semaphore);
    say("sem_trywait", [&] { return sem_trywait(&semaphore); });

    pthread_mutexattr_t kind{};
    pthread_mutexattr_init(&kind);
    pthread_mutexattr_settype(&kind, PTHREAD_MUTEX_ERRORCHECK);
    pthread_mutex_t mutex{}, taken = PTHREAD_MUTEX_INITIALIZER;
    pthread_mutex_init(&mutex, &kind);
    say("unlock, free", [&] { return pthread_mutex_unlock(&mutex); });
    say("lock", [&] { return pthread_mutex_lock(&mutex); });
    say("lock, own", [&] { return pthread_mutex_lock(&mutex); });
    say("trylock, own", [&] { return pthread_mutex_trylock(&mutex); });
    say("trylock", [&] { return pthread_mutex_trylock(&taken); });
    say("trylock, taken", [&] { return pthread_mutex_trylock(&taken); });
    say_times("timedlock", past,
              [&](const timespec* time) { return pthread_mutex_timedlock(&taken, time); });
    say_times("clocklock", past, [&](const timespec* time) {
        return pthread_mutex_clocklock(&taken, CLOCK_MONOTONIC, time);
    });
    pthread_cond_t condition = PTHREAD_COND_INITIALIZER;
    say_times("cond_timedwait", past, [&](const timespec* time) {
        return pthread_cond_timedwait(&condition, &taken, time);
    });
    for (const clockid_t clock : {CLOCK_MONOTONIC, no_clock})
        say("cond_clockwait",
            [&] { return pthread_cond_clockwait(&condition, &taken, clock, &past); });

    pthread_rwlock_t lock = PTHREAD_RWLOCK_INITIALIZER;
    pthread_rwlock_rdlock(&lock);
    say("tryrdlock", [&] { return pthread_rwlock_tryrdlock(&lock); });
    say("trywrlock", [&] { return pthread_rwlock_trywrlock(&lock); });
    say_times("timedwrlock", past,
              [&](const timespec* time) { return pthread_rwlock_timedwrlock(&lock, time); });
    for (const clockid_t clock : {CLOCK_MONOTONIC, no_clock})
        say_times("clockwrlock", past, [&](const timespec* time) {
            return pthread_rwlock_clockwrlock(&lock, clock, time);
        });
    pthread_spinlock_t spin{};
    pthread_spin_init(&spin, 0);
    say("spin_trylock", [&] { return pthread_spin_trylock(&spin); });
    say("spin_trylock, taken", [&] { return pthread_spin_trylock(&spin); });
    pthread_barrier_t barrier{};
    for (const unsigned count : {0U, 1U})
        say("barrier_init", [&] { return pthread_barrier_init(&barrier, nullptr, count); });
    say("barrier_wait", [&] { return pthread_barrier_wait(&barrier); });
    mtx_t simple{};
    mtx_init(&simple, mtx_plain);
    say("mtx_trylock", [&] { return mtx_trylock(&simple); });
    say("mtx_trylock, taken", [&] { return mtx_trylock(&simple); });
    say("join, self", [] { return pthread_join(pthread_self(), nullptr); });
    pthread_t detached{};
    pthread_create(&detached, nullptr, wait_for_end, &semaphore);
    say("detach", [&] { return pthread_detach(detached); });
    say("detach, again", [&] { return pthread_detach(detached); });
    say("join, detached", [&] { return pthread_join(detached, nullptr); });
    sem_post(&semaphore);
}

void descriptors() {
    std::array<int, 2> ends{};
    std::uint64_t number = 0;
    epoll_event event{};
    for (const int flags : {O_NONBLOCK | O_CLOEXEC, 1})
        say("pipe2", [&] { return pipe2(ends.data(), flags); });
    say("flags", [&] { return fcntl(ends[0], F_GETFL) + fcntl(ends[0], F_GETFD); });
    say("read, empty", [&] { return read(ends[0], &number, sizeof number); });
    say("write", [&] { return write(ends[1], "abcdefgh", 8); });
    say("FIONREAD", [&] {
        int bytes = 0;
        return ioctl(ends[0], FIONREAD, &bytes) + bytes;
    });
    termios settings{};
    say("tcsetattr", [&] { return tcsetattr(ends[0], TCSANOW, &settings); });
    say("tcdrain", [&] { return tcdrain(ends[0]); });
    say("tcflush", [&] { return tcflush(ends[0], TCIOFLUSH); });
    ifreq request{};
    say("SIOCGIFFLAGS", [&] { return ioctl(ends[0], 0x8913, &request); });
    for (const int descriptor : {ends[0], ends[1], 60}) {
        pollfd state{descriptor, POLLIN | POLLOUT, 0};
        say("poll", [&] { return poll(&state, 1, 0); });
        say("revents", [&] { return state.revents; });
        say_times("ppoll", moment,
                  [&](const timespec* time) { return ppoll(&state, 1, time, nullptr); });
        say("epoll_wait", [&] { return epoll_wait(descriptor, &event, 1, 0); });
        fd_set reading{}, writing{};
        timeval none{}, bad{0, -1};
        FD_SET(descriptor, &reading);
        FD_SET(descriptor, &writing);
        say("select, bad time", [&] { return select(61, &reading, &writing, nullptr, &bad); });
        say("select", [&] { return select(61, &reading, &writing, nullptr, &none); });
        say("ready",
            [&] { return FD_ISSET(descriptor, &reading) + 2 * FD_ISSET(descriptor, &writing); });
    }
    say("select, no count", [] { return select(-1, nullptr, nullptr, nullptr, nullptr); });
    say_times("pselect", moment, [](const timespec* time) {
        return pselect(0, nullptr, nullptr, nullptr, time, nullptr);
    });
    const int watch = epoll_create1(0);
    for (const int room : {-1, 0, 1})
        say("epoll_wait", [&] { return epoll_wait(watch, &event, room, 0); });
    say("read", [&] { return read(ends[0], &number, sizeof number); });
    say("close", [&] { return close(ends[1]); });
    say("close, again", [&] { return close(ends[1]); });
    say("read, no writer", [&] { return read(ends[0], &number, sizeof number); });
    say("read, closed", [&] { return read(ends[1], &number, sizeof number); });
    say("write, closed", [&] { return write(ends[1], &number, sizeof number); });
    say("ioctl, closed", [&] { return ioctl(ends[1], FIONREAD, &number); });
    say("write, for reading", [&] { return write(ends[0], &number, sizeof number); });
    pipe(ends.data());
    close(ends[0]);
    std::signal(SIGPIPE, SIG_IGN);
    say("write, no reader", [&] { return write(ends[1], &number, sizeof number); });
    for (const int flags : {int{EFD_NONBLOCK}, EFD_NONBLOCK | EFD_SEMAPHORE, 3})
        say("eventfd", [&] {
            const int counter = eventfd(3, flags);
            if (counter < 0) return -1L;
            number = 0;
            long result = eventfd_read(counter, &number) * 100 + static_cast<long>(number) * 10;
            result += eventfd_write(counter, ~std::uint64_t{0} - 1);
            return result + eventfd_write(counter, ~std::uint64_t{0} - 1);
        });
    for (const auto& [first, last, flags] :
         {std::array{2000U, 1999U, 0U}, {2000U, ~0U, 8U}, {2000U, ~0U, 0U}})
        say("close_range", [&] { return close_range(first, last, static_cast<int>(flags)); });
    for (const char* path : {"none", "/dev/null/x", "/", ""}) {
        say("open", [&] { return open(path, O_RDWR); });
        say("openat", [&] { return openat(1000, path, O_RDWR); });
    }
    say("open, null", [] { return open(nowhere, O_RDONLY); });
}

// Made where it runs: a program that has no rights, one of no format, a script of no shell.
void programs() {
    const auto write_file = [](const char* name, const char* text, mode_t mode) {
        const int file = open(name, O_WRONLY | O_CREAT | O_TRUNC, 0600);
        if (write(file, text, std::string(text).size()) < 0 || fchmod(file, mode) != 0)
            std::abort();
        close(file);
    };
    write_file("denied", "#!/bin/sh\n", 0600);
    write_file("script", "exit $(($# + 10))", 0700);
    write_file("lost", "#!/nowhere/sh\n", 0700);
    mkdir("folder", 0700);
    setenv("PATH", "/dev/null:./folder:.:/bin", 1);
    char first[] = "a", second[] = "b";
    char* arguments[] = {first, second, nullptr};
    // In a child: its status if it was executed, else the error.
    const auto say_in_child = [](const std::string& name, const std::function<void()>& execute) {
        std::fflush(stdout);
        const pid_t child = fork();
        if (child == 0) {
            execute();
            _exit(errno);
        }
        int status = 0;
        waitpid(child, &status, 0);
        say(name, [&] { return status; });
    };
    for (const char* name :
         {"denied", "script", "lost", "folder", "none", "", "./script", "true", "denied/x"}) {
        const std::string text = name;
        say_in_child("execv " + text, [&] { execv(name, arguments); });
        say_in_child("execvp " + text, [&] { execvp(name, arguments); });
        say_in_child("execlp " + text, [&] { execlp(name, first, second, first, nullptr); });
        say_in_child("execle " + text, [&] { execle(name, first, nullptr, arguments); });
        pid_t child = 0;
        say("posix_spawn " + text,
            [&] { return posix_spawn(&child, name, nullptr, nullptr, arguments, environ); });
        say("posix_spawnp " + text,
            [&] { return posix_spawnp(&child, name, nullptr, nullptr, arguments, environ); });
        while (wait(nullptr) > 0) {
        }
    }
    say("system", [] { return system(nullptr); });
    for (const char* command : {"exit 3", "kill -9 $$", "none 2>/dev/null"})
        say("system", [&] { return system(command); });
    say("popen", [] { return pclose(popen("exit 4", "r")); });
    say("popen", [] { return popen("true", "x") == nullptr; });
}

} // namespace

int main() {
    signals();
    clocks();
    timers();
    locks();
    descriptors();
    programs();
    std::fflush(stdout);
    return 0;
}
