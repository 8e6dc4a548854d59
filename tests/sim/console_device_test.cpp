#include "support/boards.h"

#include <cerrno>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <linux/kd.h>
#include <sys/ioctl.h>
#include <unistd.h>

namespace {

using ConsoleDevice = BoardTest;

TEST_F(ConsoleDevice, IsARealDescriptorWhoseTonesReachTheSpeaker) {
    const int first = open("/dev/console", O_RDONLY);
    const int other = open("/dev/null", O_RDONLY);
    const int second = openat(AT_FDCWD, "/dev/console", O_RDWR | O_CLOEXEC);
    EXPECT_NE(second, first);
    EXPECT_EQ(fcntl(second, F_GETFD), FD_CLOEXEC);
    EXPECT_EQ(write(second, "text", 4), 4);
    EXPECT_EQ(ioctl(first, KDMKTONE, 1193180 / 500 + (100 << 16)), 0);
    EXPECT_EQ(ioctl(second, KIOCSOUND, 1193), 0);
    EXPECT_EQ(ioctl(second, KIOCSOUND, 0), 0);
    EXPECT_EQ(count_events("speaker"), 3); // tone, sound, silence
    EXPECT_EQ(ioctl(first, KDGKBTYPE, nullptr), -1);
    EXPECT_EQ(ioctl(other, KIOCSOUND, 0), -1);
    EXPECT_EQ(errno, ENOTTY);
    for (const int descriptor : {first, second, other})
        EXPECT_EQ(close(descriptor), 0);
    EXPECT_EQ(ioctl(first, KIOCSOUND, 0), -1);
    EXPECT_EQ(errno, EBADF);
    EXPECT_EQ(count_events("program", "open"), 2);
    EXPECT_EQ(count_events("program", "close"), 2);
    EXPECT_THAT(k4sim::machine().events().back().line,
                testing::HasSubstr("\"device\":\"/dev/console\""));
}

} // namespace
