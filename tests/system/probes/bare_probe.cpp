// bare_probe: tells whether the device library is in its process: "virtual" or "bare".
// bare_probe ports: past the library, asks the kernel for no right to any port, in each way that
// a program of its word size can ask; tells whether that is "denied" or "open".
#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <iterator>
#include <sys/syscall.h>
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

} // namespace

int main(int argc, char** argv) {
    if (argc > 1 && std::strcmp(argv[1], "ports") == 0)
        std::puts(ports_are_denied() ? "denied" : "open");
    else
        std::puts(device_is_loaded() ? "virtual" : "bare");
    return 0;
}
