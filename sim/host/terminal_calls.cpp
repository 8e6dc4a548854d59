// Stand-ins for the functions of libc on terminals that change something, as the requests
// that libc makes of them. The symbol's name stands in quotes. Looking at settings needs
// no stand-in: the descriptor is one of a real terminal.
#include "sim/host/descriptors.h"
#include "sim/host/real.h"
#include "sim/host/threads.h"

#include <cerrno>
#include <sys/ioctl.h>
#include <termios.h>

namespace k4sim {

namespace {

bool owned_terminal(int descriptor) {
    return belongs_to_program() && descriptors().owns(descriptor);
}

// A request's argument that is a number takes the place of an address.
void* number(int value) {
    // NOLINTNEXTLINE(performance-no-int-to-ptr)
    return reinterpret_cast<void*>(value);
}

} // namespace

extern "C" {

int stand_in_tcsetattr(int descriptor, int when, const termios* settings) asm("tcsetattr");
int stand_in_tcsetattr(int descriptor, int when, const termios* settings) {
    if (!owned_terminal(descriptor))
        return real_function<decltype(stand_in_tcsetattr)>("tcsetattr")(descriptor, when, settings);
    if (when < TCSANOW || when > TCSAFLUSH) {
        errno = EINVAL;
        return -1;
    }
    // The kernel's record is the first part of libc's.
    termios copy = *settings;
    return descriptors().control(descriptor, TCSETS + static_cast<unsigned long>(when), &copy);
}

int stand_in_tcflush(int descriptor, int queue) asm("tcflush");
int stand_in_tcflush(int descriptor, int queue) {
    if (!owned_terminal(descriptor))
        return real_function<decltype(stand_in_tcflush)>("tcflush")(descriptor, queue);
    return descriptors().control(descriptor, TCFLSH, number(queue));
}

int stand_in_tcdrain(int descriptor) asm("tcdrain");
int stand_in_tcdrain(int descriptor) {
    if (!owned_terminal(descriptor))
        return real_function<decltype(stand_in_tcdrain)>("tcdrain")(descriptor);
    return descriptors().control(descriptor, TCSBRK, number(1));
}

} // extern "C"

} // namespace k4sim
