// KLTlxIOdev on the device files, pipes and terminals of the running kernel.
#include "baselib/device/lxiodev.h"

#include "baselib/device/lxtermios.h"
#include "baselib/print/print.h"

#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <gtest/gtest.h>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr int noData = -6849;

TEST(LxIOdev, OpenClosesFirstWhateverThePath) {
    const struct {
        const char* path;
        bool opens;
    } cases[] = {
        {"/dev/null", true}, {nullptr, false}, {"", false}, {"/dev/absent", false}, {"/dev", false},
    };
    for (const auto& [path, opens] : cases) {
        KLTlxIOdev device("/dev/zero");
        ASSERT_TRUE(device.isOpen());
        const int former = device.descriptor();
        EXPECT_EQ(device.open(path), opens);
        EXPECT_EQ(device.isOpen(), opens);
        if (!opens) {
            EXPECT_EQ(device.descriptor(), -1);
            EXPECT_EQ(fcntl(former, F_GETFD), -1) << "left open";
        }
        int current = -1;
        {
            const KLTlxIOdev other(path);
            EXPECT_EQ(other.isOpen(), opens);
            current = other.descriptor();
        }
        EXPECT_EQ(fcntl(current, F_GETFD), -1) << "left open by the destructor";
    }
}

TEST(LxIOdev, ClosedDeviceFails) {
    KLTlxIOdev device;
    device.close();
    char data[4] = {};
    EXPECT_EQ(device.ichar(), -1);
    EXPECT_EQ(device.icharns(), -1);
    EXPECT_EQ(device.icharti(1'000'000), -1);
    EXPECT_EQ(device.iblock(data, 4), -1);
    EXPECT_EQ(device.ochar('x'), 0);
    EXPECT_EQ(device.oblock(data, 4), -1);
    EXPECT_EQ(device.oblock(data, -1), -1) << "what the kernel answers is no count";
    EXPECT_EQ(device.ostring("x"), -1);
    EXPECT_EQ(KLTlxIOdev::syserr(), EBADF);
    EXPECT_EQ(device.blocking(true), -2);
    EXPECT_EQ(device.blocking(false), -2);
}

TEST(LxIOdev, RefusesWhatIsNoData) {
    KLTlxIOdev device("/dev/null");
    char data[4] = {};
    EXPECT_EQ(device.iblock(data, -1), -1);
    EXPECT_EQ(device.oblock(data, -1), -1);
    EXPECT_EQ(device.oblock(data, 0), 0);
    EXPECT_EQ(device.ostring(nullptr), -1);
    EXPECT_EQ(device.ostring(""), 0);
    // The end of a file is a failure but no block.
    EXPECT_EQ(device.ichar(), -1);
    EXPECT_EQ(device.icharns(), -1);
    EXPECT_EQ(device.iblock(data, 4), 0);
}

TEST(LxIOdev, FullDeviceTellsWhy) {
    KLTlxIOdev device("/dev/full");
    EXPECT_EQ(device.ochar('x'), 0);
    EXPECT_EQ(device.oblock("text", 4), -1);
    EXPECT_EQ(device.ostring("text"), -1);
    EXPECT_EQ(KLTlxIOdev::syserr(), ENOSPC);
    EXPECT_EQ(device.ofull(), 0);
}

TEST(LxIOdev, BlockingTouchesNeitherFlagWord) {
    KLTlxIOdev device("/dev/null");
    const int status = fcntl(device.descriptor(), F_GETFL);
    for (const bool on : {true, false}) {
        EXPECT_EQ(device.blocking(on), 0);
        EXPECT_EQ(fcntl(device.descriptor(), F_GETFL), status);
        EXPECT_EQ(fcntl(device.descriptor(), F_GETFD), 0);
    }
}

TEST(LxIOdev, BlockingRefusesDescriptor0) {
    const int input = dup(0);
    close(0);
    KLTlxIOdev device("/dev/null");
    EXPECT_EQ(device.descriptor(), 0);
    EXPECT_EQ(device.blocking(true), -1);
    device.close();
    if (input >= 0) {
        dup2(input, 0);
        close(input);
    }
}

// A FIFO opened for both directions gives back what was written to it.
class LxIOdevFifo : public testing::Test {
protected:
    void SetUp() override {
        std::string folder = std::filesystem::temp_directory_path() / "lxiodev-XXXXXX";
        ASSERT_NE(mkdtemp(folder.data()), nullptr);
        folder_ = folder;
        const std::string path = folder_ / "fifo";
        ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
        ASSERT_TRUE(device.open(path.c_str()));
    }
    void TearDown() override { std::filesystem::remove_all(folder_); }

    KLTlxIOdev device;

private:
    std::filesystem::path folder_;
};

TEST_F(LxIOdevFifo, ReadsWhatIsThere) {
    EXPECT_EQ(device.iempty(), 1);
    EXPECT_EQ(device.oblock("ab\0c", 4), 0);
    EXPECT_EQ(device.ostring("de"), 0);
    EXPECT_EQ(device.iempty(), 0);
    char data[16] = {};
    EXPECT_EQ(device.iblock(data, 5), 5);
    EXPECT_EQ(std::string(data, 5), std::string("ab\0cd", 5));
    EXPECT_EQ(device.iblock(data, 16), 1);
    EXPECT_EQ(data[0], 'e');
    KLTprint(device) << "ID=" << 7 << "\nrest";
    EXPECT_EQ(device.istring(data, sizeof data), 4);
    EXPECT_STREQ(data, "ID=7");
}

TEST_F(LxIOdevFifo, TimeoutIsInMicroseconds) {
    using std::chrono::microseconds;
    using std::chrono::steady_clock;
    EXPECT_EQ(device.icharns(), noData);
    EXPECT_EQ(device.icharti(-1), noData);
    for (const long long wait_us : {20'000LL, 1'000'500LL}) {
        const auto begin = steady_clock::now();
        EXPECT_EQ(device.icharti(wait_us), noData);
        const auto waited = steady_clock::now() - begin;
        EXPECT_GE(waited, microseconds(wait_us));
        EXPECT_LT(waited, microseconds(wait_us) + std::chrono::seconds(10));
    }
}

TEST_F(LxIOdevFifo, WriteThatIsCutShortFails) {
    fcntl(device.descriptor(), F_SETFL, O_NONBLOCK);
    const std::string big(1 << 20, 'x');
    EXPECT_EQ(device.oblock(big.data(), static_cast<int>(big.size())), -1);
    EXPECT_EQ(device.icharns(), 'x') << "nothing was taken";
    std::string rest(big.size(), '\0');
    while (device.iempty() == 0)
        ASSERT_GT(device.iblock(rest.data(), static_cast<int>(rest.size())), 0);
    EXPECT_EQ(device.ostring(big.c_str()), -1);
}

TEST(LxIOdevSubclass, PollGoesThroughItsTimedRead) {
    struct Scripted : KLTlxIOdev {
        int icharti(long long timeout_us) override {
            asked_us = timeout_us;
            return 'q';
        }
        long long asked_us = -1;
    } device;
    EXPECT_EQ(device.icharns(), 'q');
    EXPECT_EQ(device.asked_us, 0);
}

TEST(LxIOdevTerminal, CarriesRawBytesUntilItIsHungUp) {
    const int master = posix_openpt(O_RDWR | O_NOCTTY);
    ASSERT_EQ(grantpt(master), 0);
    ASSERT_EQ(unlockpt(master), 0);
    KLTlxIOdev device(ptsname(master));
    ASSERT_TRUE(device.isOpen());
    KLTlxTermios line(device.descriptor());
    line.setRaw();
    ASSERT_EQ(line.apply(device.descriptor(), TCSANOW), 0);
    EXPECT_EQ(device.blocking(true), 0);
    EXPECT_EQ(device.icharns(), noData);

    constexpr int waitAtMost_us = 10'000'000;
    for (int c = 0; c < 256; ++c) {
        const auto sent = static_cast<unsigned char>(c);
        ASSERT_EQ(write(master, &sent, 1), 1);
        EXPECT_EQ(c % 2 ? device.ichar() : device.icharti(waitAtMost_us), c);
        ASSERT_EQ(device.ochar(c), 1);
        unsigned char received = 0;
        ASSERT_EQ(read(master, &received, 1), 1);
        EXPECT_EQ(received, c);
    }
    close(master);
    EXPECT_EQ(device.icharns(), -1);
    EXPECT_EQ(device.ostring("gone"), -1);
    EXPECT_EQ(KLTlxIOdev::syserr(), EIO);
}

} // namespace
