// Device files, pipes and terminals of the running kernel; their settings against stty.
#include "baselib/device/lxiodev.h"

#include "baselib/device/lxtermios.h"
#include "support/pseudo_terminal.h"
#include "support/scratch_folder.h"

#include <cerrno>
#include <chrono>
#include <gmock/gmock.h>
#include <sys/stat.h>

namespace {

using testing::Each;

TEST(LxIOdev, OpenClosesFirstWhateverThePath) {
    const int input = dup(0);
    close(0);
    for (const char* path : {"/dev/null", static_cast<const char*>(nullptr), "", "/absent"}) {
        const bool opens = path != nullptr && std::string(path) == "/dev/null";
        {
            KLTlxIOdev device("/dev/zero");
            EXPECT_EQ(device.open(path), opens);
            EXPECT_EQ(device.descriptor(), opens ? 0 : -1);
            EXPECT_EQ(device.blocking(true), opens ? -1 : -2);
        }
        EXPECT_EQ(fcntl(0, F_GETFD), -1) << "left open";
    }
    dup2(input, 0);
    close(input);
}

TEST(LxIOdev, WithoutDataRoomOrDeviceFails) {
    const struct {
        const char* path;
        int taken;  // results of a byte written,
        int block;  // of some or none,
        int at_end; // and of some to be read
        int error;
    } cases[] = {
        {"/dev/null", 1, 0, 0, 0}, {"/dev/full", 0, -1, 4, ENOSPC}, {"", 0, -1, -1, EBADF}};
    char data[4] = {};
    for (const auto& c : cases) {
        KLTlxIOdev device(c.path);
        EXPECT_EQ(device.iblock(data, 4), c.at_end);
        EXPECT_THAT((std::vector{device.ichar(), device.icharns()}), Each(c.at_end == 4 ? 0 : -1));
        EXPECT_THAT((std::vector{device.iblock(data, -1), device.oblock(data, -1)}), Each(-1));
        EXPECT_EQ(device.ostring(nullptr), -1);
        errno = 0;
        EXPECT_EQ(device.ochar('x'), c.taken);
        EXPECT_THAT((std::vector{device.oblock(data, 4), device.ostring("x")}), Each(c.block));
        EXPECT_EQ(KLTlxIOdev::syserr(), c.error);
        EXPECT_EQ(device.ofull(), 0);
        for (const bool on : {true, false})
            EXPECT_EQ(device.blocking(on), device.isOpen() ? 0 : -2);
    }
}

// A FIFO opened for both directions gives back what was written to it.
TEST(LxIOdev, ReadsWhatIsThere) {
    const ScratchFolder folder;
    ASSERT_EQ(mkfifo(folder.file("fifo").c_str(), 0600), 0);
    KLTlxIOdev device(folder.file("fifo").c_str());
    EXPECT_EQ(device.iempty(), 1);
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_THAT((std::vector{device.icharns(), device.icharti(-1), device.icharti(1'000'500)}),
                Each(-6849));
    const auto waited = std::chrono::steady_clock::now() - begin;
    EXPECT_GE(waited, std::chrono::microseconds(1'000'500));
    EXPECT_LT(waited, std::chrono::seconds(10));
    for (int c = 0; c < 256; ++c) {
        EXPECT_EQ(device.ochar(c), 1);
        EXPECT_EQ(c % 2 ? device.ichar() : device.icharti(10'000'000), c);
    }
    EXPECT_EQ(device.oblock("ab\0c", 4) | device.ostring("de"), 0);
    EXPECT_EQ(device.iempty(), 0);
    char data[16] = {};
    EXPECT_EQ(device.iblock(data, 3), 3);
    EXPECT_EQ(device.iblock(data + 3, 13), 3);
    EXPECT_EQ(std::string(data, 7), std::string("ab\0cde\0", 7));

    fcntl(device.descriptor(), F_SETFL, O_NONBLOCK);
    std::string big(1 << 20, 'x');
    EXPECT_EQ(device.oblock(big.data(), 1 << 20), -1) << "cut short";
    EXPECT_GT(device.iblock(big.data(), 1 << 20), 0);
    EXPECT_EQ(device.ostring(big.c_str()), -1);
}

TEST(LxTermios, SettingsArriveAndUnknownOnesAreRefused) {
    const PseudoTerminal terminal;
    const KLTlxIOdev device(terminal.path().c_str());
    const int fd = device.descriptor();
    KLTlxTermios line(fd);
    // Applies what was set and looks whether stty lists it, such as "-icanon" or "cs8".
    const auto stty_says = [&](const std::string& setting) {
        EXPECT_EQ(line.apply(fd, TCSANOW), 0);
        const std::string list = "(echo; stty -a -F " + terminal.path() + ") | tr ';\n' '  '";
        return std::system((list + " | grep -q -- ' " + setting + " '").c_str()) == 0;
    };
    line.setRaw();
    for (const char* setting : {"-icanon", "-echo", "-isig", "-iexten", "-opost", "-icrnl", "-ixon",
                                "-istrip", "-parenb", "cs8", "min = 1", "time = 0"})
        EXPECT_TRUE(stty_says(setting)) << setting;
    for (const bool on : {false, true}) {
        line.hwFlowControl(on);
        EXPECT_TRUE(stty_says(on ? "-clocal -crtscts" : "clocal -crtscts"));
        EXPECT_EQ(KLTlxTermios(fd).hwFlowControl(), on);
    }
    for (const int baud : {1200, 2400, 4800, 9600, 19200, 38400}) {
        const int constant = KLTlxTermios::baudToC(baud);
        EXPECT_EQ(line.baud(KLTlxTermios::inputSpeed | KLTlxTermios::outputSpeed, constant), 0);
        EXPECT_TRUE(stty_says("speed " + std::to_string(baud) + " baud"));
        EXPECT_EQ(KLTlxTermios::baudFromC(constant), baud);
    }
    EXPECT_EQ(KLTlxTermios::baudToC(115200), -1);
    EXPECT_EQ(KLTlxTermios::baudFromC(B115200), -1);
    for (const int which : {0, 1, 2, 3})
        EXPECT_EQ(line.baud(which, -1), which == 0 ? 0 : -1);
    EXPECT_EQ(line.query(-1), -1);
    EXPECT_EQ(line.settings().c_cflag, 0U) << "cleared by what is no terminal";
    EXPECT_NE(line.apply(-1, TCSANOW), 0);
}

} // namespace
