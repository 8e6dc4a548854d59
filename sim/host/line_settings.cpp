#include "sim/host/line_settings.h"

#include "sim/host/real.h"

#include <algorithm>
#include <asm/ioctls.h>
#include <asm/termbits.h> // in place of <termios.h>: speeds are numbers here

namespace k4sim {

LineSettings line_settings(int descriptor) {
    static auto* const system_ioctl = libc_function<int(int, unsigned long, ...)>("ioctl");
    termios2 settings{};
    if (system_ioctl(descriptor, TCGETS2, &settings) != 0) return {};
    const bool canonical = (settings.c_lflag & ICANON) != 0;
    return {settings.c_ospeed, canonical,
            canonical || (settings.c_lflag & (ECHO | ECHONL | ISIG)) != 0 ||
                (settings.c_iflag & (IXON | IXOFF)) != 0,
            std::max<std::size_t>(settings.c_cc[VMIN], 1)};
}

bool is_change_of_settings(unsigned long request) {
    switch (request) {
    case TCSETS:
    case TCSETSW:
    case TCSETSF:
    case TCSETS2:
    case TCSETSW2:
    case TCSETSF2:
        return true;
    default:
        return false;
    }
}

bool flushes_input(unsigned long request) { return request == TCSETSF || request == TCSETSF2; }

bool waits_for_output(unsigned long request) {
    return request == TCSETSW || request == TCSETSW2 || flushes_input(request);
}

} // namespace k4sim
