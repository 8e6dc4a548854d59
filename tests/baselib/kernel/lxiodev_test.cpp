// KLTlxIOdev on the device files, pipes and terminals of the running kernel.
#include "baselib/device/lxiodev.h"

#include "baselib/device/lxtermios.h"
#include "baselib/print/print.h"
#include "support/pseudo_terminal.h"
#include "support/scratch_folder.h"

#include <cerrno>
#include <chrono>
#include <sys/stat.h>

namespace {

constexpr int no_data = -6849;

TEST(LxIOdev, OpenClosesFirstWhateverThePath) {
    for (const char* path : {"/dev/null", static_cast<const char*>(nullptr), "", "/absent", "/"}) {
        const bool opens = path != nullptr && std::string(path) == "/dev/null";
        const int lowest_free = dup(0);
        close(lowest_free);
        {
            KLTlxIOdev device("/dev/zero");
            EXPECT_EQ(device.descriptor(), lowest_free);
            EXPECT_EQ(device.open(path), opens);
            EXPECT_EQ(device.descriptor(), opens ? lowest_free : -1);
            const KLTlxIOdev other(path);
            EXPECT_EQ(other.isOpen(), opens);
        }
        EXPECT_EQ(fcntl(lowest_free, F_GETFD), -1) << "left open";
    }
}

TEST(LxIOdev, WithoutDataRoomOrDeviceFails) {
    const struct {
        const char* path;
        int taken;  // results of a byte written,
        int block;  // of some or none,
        int at_end; // and of some to be read
        int error;
    } cases[] = {{"/dev/null", 1, 0, 0, 0}, {"/dev/full", 0, -1, 4, ENOSPC}, {"", 0, -1, -1, EBADF}};
    char data[4] = {};
    for (const auto& c : cases) {
        KLTlxIOdev device(c.path);
        EXPECT_EQ(device.oblock(data, 0), c.block);
        EXPECT_EQ(device.ostring(""), c.block);
        EXPECT_EQ(device.iblock(data, 4), c.at_end);
        EXPECT_EQ(device.ichar(), c.at_end == 4 ? 0 : -1) << "the end of a file is a failure";
        EXPECT_EQ(device.icharns(), c.at_end == 4 ? 0 : -1);
        EXPECT_EQ(device.iblock(data, -1), -1);
        EXPECT_EQ(device.oblock(data, -1), -1);
        EXPECT_EQ(device.ostring(nullptr), -1);
        errno = 0;
        EXPECT_EQ(device.ochar('x'), c.taken);
        EXPECT_EQ(device.oblock(data, 4), c.block);
        EXPECT_EQ(device.ostring("x"), c.block);
        EXPECT_EQ(KLTlxIOdev::syserr(), c.error);
        EXPECT_EQ(device.ofull(), 0);
        EXPECT_EQ(device.blocking(true), device.isOpen() ? 0 : -2);
        EXPECT_EQ(device.blocking(false), device.isOpen() ? 0 : -2);
        EXPECT_EQ(fcntl(device.descriptor(), F_GETFD), device.isOpen() ? 0 : -1);
    }
}

TEST(LxIOdev, BlockingRefusesDescriptor0) {
    const int input = dup(0);
    close(0);
    KLTlxIOdev device("/dev/null");
    EXPECT_EQ(device.descriptor(), 0);
    EXPECT_EQ(device.blocking(true), -1);
    device.close();
    dup2(input, 0);
    close(input);
}

// A FIFO opened for both directions gives back what was written to it.
class LxIOdevFifo : public testing::Test {
protected:
    void SetUp() override {
        ASSERT_EQ(mkfifo(folder.file("fifo").c_str(), 0600), 0);
        ASSERT_TRUE(device.open(folder.file("fifo").c_str()));
    }

    const ScratchFolder folder;
    KLTlxIOdev device;
};

TEST_F(LxIOdevFifo, ReadsWhatIsThere) {
    EXPECT_EQ(device.iempty(), 1);
    EXPECT_EQ(device.icharns(), no_data);
    EXPECT_EQ(device.icharti(-1), no_data);
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_EQ(device.icharti(1'000'500), no_data);
    const auto waited = std::chrono::steady_clock::now() - begin;
    EXPECT_GE(waited, std::chrono::microseconds(1'000'500));
    EXPECT_LT(waited, std::chrono::seconds(10));

    EXPECT_EQ(device.oblock("ab\0c", 4), 0);
    EXPECT_EQ(device.ostring("de"), 0);
    EXPECT_EQ(device.iempty(), 0);
    char data[16] = {};
    EXPECT_EQ(device.iblock(data, 5), 5);
    EXPECT_EQ(std::string(data, 5), std::string("ab\0cd", 5));
    EXPECT_EQ(device.iblock(data, 16), 1);
    KLTprint(device) << "ID=" << 7 << "\nrest";
    EXPECT_EQ(device.istring(data, sizeof data), 4);
    EXPECT_STREQ(data, "ID=7");
}

TEST_F(LxIOdevFifo, WriteThatIsCutShortFails) {
    fcntl(device.descriptor(), F_SETFL, O_NONBLOCK);
    std::string big(1 << 20, 'x');
    EXPECT_EQ(device.oblock(big.data(), static_cast<int>(big.size())), -1);
    EXPECT_EQ(device.icharns(), 'x') << "nothing was taken";
    while (device.iempty() == 0)
        ASSERT_GT(device.iblock(big.data(), static_cast<int>(big.size())), 0);
    EXPECT_EQ(device.ostring(big.c_str()), -1);
}

TEST(LxIOdevTerminal, CarriesRawBytesUntilItIsHungUp) {
    PseudoTerminal terminal;
    KLTlxIOdev device(terminal.path().c_str());
    KLTlxTermios line(device.descriptor());
    line.setRaw();
    ASSERT_EQ(line.apply(device.descriptor(), TCSANOW), 0);
    for (int c = 0; c < 256; ++c) {
        const std::string byte(1, static_cast<char>(c));
        terminal.give(byte);
        EXPECT_EQ(c % 2 ? device.ichar() : device.icharti(10'000'000), c);
        EXPECT_EQ(device.ochar(c), 1);
        EXPECT_EQ(terminal.take(), byte);
    }
    terminal.hang_up();
    EXPECT_EQ(device.icharns(), -1);
    EXPECT_EQ(device.ostring("gone"), -1);
    EXPECT_EQ(KLTlxIOdev::syserr(), EIO);
}

} // namespace
