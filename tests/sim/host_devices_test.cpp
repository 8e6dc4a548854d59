// The ports and the console device, as a program reaches them.
#include "support/boards.h"
#include "support/ports.h"

#include "sim/time/scheduler.h"

#include <cerrno>
#include <fcntl.h>
#include <linux/kd.h>
#include <sys/io.h>
#include <sys/ioctl.h>
#include <unistd.h>

using namespace k4sim;

namespace {

class PortTrap : public testing::Test {
protected:
    ~PortTrap() override { iopl(0); }

    // Reads give the port's low byte, inverted.
    ScriptedPorts ports_{0xD000, [](std::uint16_t port) { return ~port & 0xFF; }};
    const AttachedPorts attached_{ports_};
};

using PortTrapDeathTest = PortTrap;

TEST_F(PortTrap, AllFourFormsReachThePortInAMicrosecond) {
    unsigned accumulator = 0x12345600; // only its low byte may change
    const Microseconds start = scheduler().now();
    errno = 55;
    asm volatile("inb %%dx, %%al" : "+a"(accumulator) : "d"(0x7770D001));
    EXPECT_EQ(accumulator, 0x123456FEu);
    asm volatile("outb %%al, %%dx" : : "a"(0x1234565A), "d"(0x7770DA00));
    asm volatile("inb $0x61, %%al" : "+a"(accumulator));
    EXPECT_EQ(accumulator, 0x1234569Eu);
    asm volatile("outb %%al, $0x80" : : "a"(0xC3));
    EXPECT_EQ(ports_.take(), "r1 w@da00=5a r@0061 w@0080=c3");
    EXPECT_EQ(scheduler().now(), start + 4);
    EXPECT_EQ(errno, 55);
}

TEST_F(PortTrapDeathTest, AnythingElseKillsTheProcess) {
    EXPECT_DEATH(*static_cast<volatile int*>(nullptr) = 1, "");
    EXPECT_DEATH(asm volatile("hlt"), "");
    EXPECT_DEATH(raise(SIGSEGV), "");
    EXPECT_EQ(iopl(4), -1);
    EXPECT_EQ(errno, EINVAL);
    EXPECT_EQ(iopl(2), 0); // leaves the ports to the system
    EXPECT_DEATH(asm volatile("inb $0x61, %%al" : : : "eax"), "");
}

using ConsoleDevice = BoardTest;

TEST_F(ConsoleDevice, IsARealDescriptor) {
    const int console = openat(AT_FDCWD, "/dev/console", O_RDWR | O_CLOEXEC);
    EXPECT_EQ(fcntl(console, F_GETFD), FD_CLOEXEC);
    EXPECT_EQ(write(console, "text", 4), 4);
    EXPECT_EQ(ioctl(console, KIOCSOUND, 1193), 0);
    EXPECT_EQ(count_events("speaker", "sound"), 1);
    EXPECT_EQ(ioctl(console, KDGKBTYPE, nullptr), -1);
    EXPECT_EQ(errno, ENOTTY);
    EXPECT_EQ(close(console), 0);
    EXPECT_EQ(ioctl(console, KIOCSOUND, 0), -1);
    EXPECT_EQ(errno, EBADF);
    EXPECT_EQ(count_events("program", "close"), 1);
}

} // namespace
