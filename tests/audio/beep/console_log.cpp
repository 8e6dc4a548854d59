// The checked forms of these functions are inline; here they are defined.
#undef _FORTIFY_SOURCE

#include "console_log.h"

#include <cerrno>
#include <cstdarg>
#include <fcntl.h>
#include <linux/kd.h>
#include <sys/ioctl.h>
#include <sys/syscall.h>
#include <unistd.h>
#include <utility>

namespace {

constexpr int consoleDescriptor = 1000;
constexpr int durationShift = 16;
constexpr unsigned long dividerMask = 0xFFFF;

std::vector<std::string> console;

std::string describe(unsigned long code, unsigned long argument) {
    if (code == KIOCSOUND) return "sound " + std::to_string(argument);
    if (code == KDMKTONE)
        return "tone " + std::to_string(argument & dividerMask) + " " +
               std::to_string(argument >> durationShift);
    return "request " + std::to_string(code);
}

} // namespace

std::vector<std::string> takeConsoleLog() { return std::exchange(console, {}); }

extern "C" int open(const char* path, int flags, ...) {
    const bool readOnly = (flags & O_ACCMODE) == O_RDONLY;
    console.push_back((readOnly ? "open " : "open for writing ") + std::string(path));
    if (std::string(path) == "/dev/console" || std::string(path) == "/dev/tty1")
        return consoleDescriptor;
    errno = ENOENT;
    return -1;
}

extern "C" int close(int descriptor) {
    if (descriptor != consoleDescriptor) return static_cast<int>(syscall(SYS_close, descriptor));
    console.push_back("close");
    return 0;
}

extern "C" int ioctl(int descriptor, unsigned long code, ...) noexcept {
    va_list arguments;
    va_start(arguments, code);
    const unsigned long argument = va_arg(arguments, unsigned long);
    va_end(arguments);
    console.push_back(descriptor == consoleDescriptor ? describe(code, argument) : "stray ioctl");
    return 0;
}

extern "C" int usleep(useconds_t us) {
    console.push_back("sleep " + std::to_string(us));
    return 0;
}
