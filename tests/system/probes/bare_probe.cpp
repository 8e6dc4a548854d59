// bare_probe: tells whether the device library is in its process: "virtual" or "bare".
// bare_probe WAY PROGRAM: closes what it can, and executes the program in that way.
// bare_probe ports: past the library, asks the kernel for no right to any port, in each way that
// a program of its word size can ask; tells whether that is "denied" or "open".
#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <iterator>
#include <spawn.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

bool device_is_loaded() {
    std::FILE* maps = std::fopen("/proc/self/maps", "r");
    char line[8192];
    bool loaded = false;
    while (maps != nullptr && std::fgets(line, sizeof line, maps) != nullptr)
        loaded = loaded || std::strstr(line, "/libk4sim") != nullptr;
    if (maps != nullptr) std::fclose(maps);
    return loaded;
}

long error_of(long result) { return result == 0 ? 0 : -errno; }

#ifdef __x86_64__
constexpr long x32_bit = 0x40000000;

long call_of_32_bits(long number, long first, long second, long third) {
    long result = 0;
    asm volatile("int $0x80"
                 : "=a"(result)
                 : "a"(number), "b"(first), "c"(second), "d"(third)
                 : "memory");
    return static_cast<int>(result);
}
#endif

bool ports_are_denied() {
    const long errors[] = {
        error_of(syscall(SYS_iopl, 0)),
        error_of(syscall(SYS_ioperm, 0, 1, 0)),
#ifdef __x86_64__
        error_of(syscall(x32_bit | SYS_iopl, 0)),
        error_of(syscall(x32_bit | SYS_ioperm, 0, 1, 0)),
        call_of_32_bits(110, 0, 0, 0),
        call_of_32_bits(101, 0, 1, 0),
#endif
    };
    return std::count(std::begin(errors), std::end(errors), -EPERM) == std::ssize(errors);
}

// libc's functions, each with PROGRAM as the only argument.
struct Way {
    const char* name;
    void (*go)(const char* program, char** arguments);
};

constexpr Way ways[] = {
    {"system", [](const char* program, char**) { _exit(std::system(program)); }},
    {"popen",
     [](const char* program, char**) {
         std::FILE* pipe = popen(program, "r");
         for (int c = 0; (c = std::fgetc(pipe)) != EOF;)
             std::putchar(c);
         std::exit(pclose(pipe));
     }},
    {"execl", [](const char* program, char**) { execl(program, program, nullptr); }},
    {"execlp", [](const char* program, char**) { execlp(program, program, nullptr); }},
    {"execle", [](const char* program, char**) { execle(program, program, nullptr, environ); }},
    {"execv", [](const char* program, char** arguments) { execv(program, arguments); }},
    {"execvp", [](const char* program, char** arguments) { execvp(program, arguments); }},
    {"execvpe",
     [](const char* program, char** arguments) { execvpe(program, arguments, environ); }},
    {"fexecve",
     [](const char* program, char** arguments) {
         fexecve(open(program, O_RDONLY | O_CLOEXEC), arguments, environ);
     }},
    {"execveat",
     [](const char* program, char** arguments) {
         execveat(open(".", O_RDONLY), program, arguments, environ, 0);
     }},
    {"posix_spawn",
     [](const char* program, char** arguments) {
         pid_t child = 0;
         errno = posix_spawn(&child, program, nullptr, nullptr, arguments, environ);
         if (errno == 0) _exit(waitpid(child, nullptr, 0) != child);
     }},
    {"posix_spawnp",
     [](const char* program, char** arguments) {
         pid_t child = 0;
         errno = posix_spawnp(&child, program, nullptr, nullptr, arguments, nullptr);
         if (errno == 0) _exit(waitpid(child, nullptr, 0) != child);
     }},
};

int execute(const char* name, char** arguments) {
    close_range(3, ~0U, 0);
    for (const Way& way : ways)
        if (std::strcmp(way.name, name) == 0) way.go(arguments[0], arguments);
    std::perror(name);
    return 126;
}

} // namespace

int main(int argc, char** argv) {
    if (argc > 2) return execute(argv[1], argv + 2);
    if (argc > 1 && std::strcmp(argv[1], "ports") == 0)
        std::puts(ports_are_denied() ? "denied" : "open");
    else
        std::puts(device_is_loaded() ? "virtual" : "bare");
    return 0;
}
