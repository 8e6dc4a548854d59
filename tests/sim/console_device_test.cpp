#include "sim/machine/machine.h"

#include <cerrno>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <linux/kd.h>
#include <sys/ioctl.h>
#include <unistd.h>

using namespace k4sim;

namespace {

class ConsoleDevice : public testing::Test {
protected:
    ConsoleDevice() {
        machine().reset();
        machine().clear_events();
        descriptor_ = open("/dev/console", O_RDONLY);
        EXPECT_GE(descriptor_, 0);
    }
    ~ConsoleDevice() override { close(descriptor_); }

    static int count(std::string_view source) {
        int found = 0;
        for (const Event& event : machine().events())
            found += event.source == source;
        return found;
    }

    int descriptor_;
};

TEST_F(ConsoleDevice, TonesReachTheSpeaker) {
    EXPECT_EQ(ioctl(descriptor_, KDMKTONE, 1193180 / 500 + (100 << 16)), 0);
    EXPECT_EQ(ioctl(descriptor_, KIOCSOUND, 1193), 0);
    EXPECT_EQ(ioctl(descriptor_, KIOCSOUND, 0), 0);
    EXPECT_EQ(count("speaker"), 3); // tone, sound, silence
}

TEST_F(ConsoleDevice, OpeningAndClosingIsRecorded) {
    close(descriptor_);
    const std::vector<Event>& events = machine().events();
    ASSERT_EQ(events.size(), 2u);
    EXPECT_EQ(events[0].what, "open");
    EXPECT_THAT(events[0].line, testing::HasSubstr("\"device\":\"/dev/console\""));
    EXPECT_EQ(events[1].what, "close");
    // The descriptor is gone for the kernel, too.
    EXPECT_EQ(fcntl(descriptor_, F_GETFD), -1);
    EXPECT_EQ(ioctl(descriptor_, KIOCSOUND, 0), -1);
    EXPECT_EQ(errno, EBADF);
}

TEST_F(ConsoleDevice, DescriptorsNeverCollide) {
    const int other = open("/dev/null", O_RDONLY);
    const int second = openat(AT_FDCWD, "/dev/console", O_RDWR | O_CLOEXEC);
    EXPECT_NE(second, descriptor_);
    EXPECT_NE(second, other);
    EXPECT_EQ(fcntl(second, F_GETFD), FD_CLOEXEC);
    EXPECT_EQ(ioctl(second, KIOCSOUND, 0), 0);
    EXPECT_EQ(ioctl(other, KIOCSOUND, 0), -1);
    EXPECT_EQ(write(second, "text", 4), 4);
    close(second);
    close(other);
    EXPECT_EQ(ioctl(descriptor_, KIOCSOUND, 0), 0);
}

} // namespace
