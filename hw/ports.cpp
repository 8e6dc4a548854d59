#include "hw/ports.h"

#include <pthread.h>
#include <sys/io.h>

namespace {

constexpr int fullPrivilege = 3;

thread_local bool isPrivileged = false;
thread_local void (*whileWaiting)() = nullptr;

// A device that works is ready long before.
constexpr unsigned looksBetweenActions = 1024;

} // namespace

bool portRequestPrivilege() {
    isPrivileged = iopl(fullPrivilege) == 0;
    return isPrivileged;
}

// The port goes through DX only: the compiler then emits the one-byte instructions EC and
// EE, never the forms with an immediate port.
std::uint8_t portIn(std::uint16_t port) {
    if (!isPrivileged) return portAbsent;
    std::uint8_t value;
    asm volatile("inb %w1, %b0" : "=a"(value) : "d"(port));
    return value;
}

void portOut(std::uint16_t port, std::uint8_t value) {
    if (!isPrivileged) return;
    asm volatile("outb %b0, %w1" : : "a"(value), "d"(port));
}

// A panel that never gets ready keeps its caller here. Without the cancellation point such
// a thread could not be ended, and the program would hang when a start-up that failed
// cancels and joins the threads that it had started.
void portWaitClear(std::uint16_t port, std::uint8_t mask) {
    for (unsigned looks = 1; isPrivileged && (portIn(port) & mask) != 0; ++looks) {
        pthread_testcancel();
        if (whileWaiting && looks % looksBetweenActions == 0) whileWaiting();
    }
}

void portWhileWaiting(void (*action)()) { whileWaiting = action; }
