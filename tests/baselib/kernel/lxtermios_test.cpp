// KLTlxTermios on a real pseudo-terminal, against stty.
#include "baselib/device/lxtermios.h"

#include "support/pseudo_terminal.h"

namespace {

class Terminal : public testing::Test {
protected:
    ~Terminal() override { close(fd); }

    // Whether stty lists the setting, such as "-icanon" or "cs8".
    bool stty_says(const std::string& setting) const {
        const std::string list = "(echo; stty -a -F " + terminal.path() + ") | tr ';\\n' '  '";
        return std::system((list + " | grep -q -- ' " + setting + " '").c_str()) == 0;
    }

    const PseudoTerminal terminal;
    const int fd = open(terminal.path().c_str(), O_RDWR | O_NOCTTY);
    KLTlxTermios line{fd};
};

TEST_F(Terminal, RawModeIsWhatSttyCallsRaw) {
    line.setRaw();
    EXPECT_TRUE(stty_says("icanon")) << "changed before apply()";
    ASSERT_EQ(line.apply(fd, TCSANOW), 0);
    for (const char* setting : {"-icanon", "-echo", "-isig", "-iexten", "-opost", "-icrnl", "-ixon",
                                "-istrip", "-parenb", "cs8", "min = 1", "time = 0"})
        EXPECT_TRUE(stty_says(setting)) << setting;
}

TEST_F(Terminal, SpeedsArriveAndReturn) {
    for (const int baud : {1200, 2400, 4800, 9600, 19200, 38400}) {
        const int constant = KLTlxTermios::baudToC(baud);
        ASSERT_EQ(line.baud(KLTlxTermios::inputSpeed | KLTlxTermios::outputSpeed, constant), 0);
        ASSERT_EQ(line.apply(fd, TCSANOW), 0);
        EXPECT_TRUE(stty_says("speed " + std::to_string(baud) + " baud")) << baud;
        EXPECT_EQ(KLTlxTermios::baudFromC(constant), baud);
    }
    EXPECT_EQ(KLTlxTermios::baudToC(115200), -1);
    EXPECT_EQ(KLTlxTermios::baudFromC(B115200), -1);
    for (const int which : {1, 2, 3})
        EXPECT_NE(line.baud(which, -1), 0);
    EXPECT_EQ(line.baud(0, -1), 0);
}

TEST_F(Terminal, ModemControlIsClocalReversed) {
    for (const bool on : {true, false}) {
        line.hwFlowControl(on);
        ASSERT_EQ(line.apply(fd, TCSANOW), 0);
        EXPECT_TRUE(stty_says(on ? "-clocal" : "clocal"));
        EXPECT_TRUE(stty_says("-crtscts"));
        ASSERT_EQ(line.query(fd), 0);
        EXPECT_EQ(line.hwFlowControl(), on);
    }
}

TEST_F(Terminal, WhatIsNoTerminalLeavesTheRecordCleared) {
    EXPECT_NE(line.settings().c_cflag, 0U);
    EXPECT_EQ(line.query(-1), -1);
    EXPECT_EQ(line.settings().c_cflag, 0U);
    EXPECT_EQ(KLTlxTermios(-1).settings().c_lflag, 0U);
    EXPECT_NE(line.apply(-1, TCSANOW), 0);
}

} // namespace
