// KLTlxTermios on a real pseudo-terminal, against stty.
#include "baselib/device/lxtermios.h"

#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <string>
#include <unistd.h>

namespace {

class Terminal : public testing::Test {
protected:
    void SetUp() override {
        master = posix_openpt(O_RDWR | O_NOCTTY);
        ASSERT_GE(master, 0);
        ASSERT_EQ(grantpt(master), 0);
        ASSERT_EQ(unlockpt(master), 0);
        char path[64];
        ASSERT_EQ(ptsname_r(master, path, sizeof path), 0);
        name = path;
        fd = open(path, O_RDWR | O_NOCTTY);
        ASSERT_GE(fd, 0);
    }
    void TearDown() override {
        close(fd);
        close(master);
    }

    // Whether stty lists the setting, such as "-icanon" or "cs8".
    bool stty_says(const std::string& setting) const {
        FILE* pipe = popen(("stty -a -F " + name).c_str(), "r");
        std::string text = " ";
        for (int c = 0; (c = fgetc(pipe)) != EOF;)
            text += (c == '\n' || c == ';') ? ' ' : static_cast<char>(c);
        EXPECT_EQ(pclose(pipe), 0);
        return text.find(" " + setting + " ") != std::string::npos;
    }

    int master = -1;
    int fd = -1;
    std::string name;
};

TEST_F(Terminal, RawModeIsWhatSttyCallsRaw) {
    KLTlxTermios line(fd);
    EXPECT_TRUE(stty_says("icanon"));
    line.setRaw();
    EXPECT_TRUE(stty_says("icanon")) << "changed before apply()";
    ASSERT_EQ(line.apply(fd, TCSANOW), 0);
    for (const char* setting : {"-icanon", "-echo", "-isig", "-iexten", "-opost", "-icrnl", "-ixon",
                                "-istrip", "-parenb", "cs8"})
        EXPECT_TRUE(stty_says(setting)) << setting;
}

TEST_F(Terminal, SpeedsArrive) {
    for (const int baud : {1200, 2400, 4800, 9600, 19200, 38400}) {
        KLTlxTermios line(fd);
        ASSERT_EQ(line.baud(KLTlxTermios::inputSpeed | KLTlxTermios::outputSpeed,
                            KLTlxTermios::baudToC(baud)),
                  0);
        ASSERT_EQ(line.apply(fd, TCSANOW), 0);
        EXPECT_TRUE(stty_says("speed " + std::to_string(baud) + " baud")) << baud;
        EXPECT_EQ(KLTlxTermios::baudFromC(KLTlxTermios::baudToC(baud)), baud);
    }
    EXPECT_EQ(KLTlxTermios::baudToC(115200), -1);
    EXPECT_EQ(KLTlxTermios::baudFromC(B115200), -1);
    EXPECT_NE(KLTlxTermios(fd).baud(KLTlxTermios::outputSpeed, -1), 0);
}

TEST_F(Terminal, ModemControlIsClocalReversed) {
    KLTlxTermios line(fd);
    for (const bool on : {true, false}) {
        line.hwFlowControl(on);
        EXPECT_EQ(line.hwFlowControl(), on);
        ASSERT_EQ(line.apply(fd, TCSANOW), 0);
        EXPECT_TRUE(stty_says(on ? "-clocal" : "clocal"));
        EXPECT_TRUE(stty_says("-crtscts"));
    }
}

TEST_F(Terminal, QueryFetchesWhatSttySet) {
    KLTlxTermios line(fd);
    ASSERT_EQ(std::system(("stty -F " + name + " 4800 -icanon clocal").c_str()), 0);
    ASSERT_EQ(line.query(fd), 0);
    EXPECT_FALSE(line.hwFlowControl());
    EXPECT_EQ(KLTlxTermios::baudFromC(static_cast<int>(cfgetospeed(&line.settings()))), 4800);
    EXPECT_EQ(line.settings().c_lflag & ICANON, 0U);
}

TEST_F(Terminal, WhatIsNoTerminalLeavesTheRecordCleared) {
    KLTlxTermios line(fd);
    EXPECT_EQ(line.query(-1), -1);
    EXPECT_EQ(line.settings().c_cflag, 0U);
    EXPECT_EQ(KLTlxTermios(-1).settings().c_lflag, 0U);
    EXPECT_NE(line.apply(-1, TCSANOW), 0);
}

} // namespace
