// A terminal line of this machine's kernel: code under test opens one end by its path, the test
// holds the other.
#pragma once

#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <string>
#include <string_view>
#include <termios.h>
#include <unistd.h>

class PseudoTerminal {
public:
    PseudoTerminal() : far_end_(posix_openpt(O_RDWR | O_NOCTTY)) {
        EXPECT_GE(far_end_, 0);
        EXPECT_EQ(grantpt(far_end_), 0);
        EXPECT_EQ(unlockpt(far_end_), 0);
        // Where the test program leads a session, the line may become its controlling terminal.
        std::signal(SIGHUP, SIG_IGN);
    }
    ~PseudoTerminal() { hang_up(); }
    PseudoTerminal(const PseudoTerminal&) = delete;
    PseudoTerminal& operator=(const PseudoTerminal&) = delete;

    std::string path() const { return ptsname(far_end_); }

    // Inherited by what a test executes.
    int far_end() const { return far_end_; }

    // As the line is set now.
    termios settings() const {
        termios settings{};
        EXPECT_EQ(tcgetattr(far_end_, &settings), 0);
        return settings;
    }

    // What has arrived at the far end. The kernel hands it over piece by piece; a poll that finds
    // nothing has waited for all of it.
    std::string take() const {
        std::string text;
        char data[256];
        for (pollfd state{far_end_, POLLIN, 0};
             ::poll(&state, 1, 0) == 1 && state.revents & POLLIN;) {
            const ssize_t count = read(far_end_, data, sizeof data);
            if (count <= 0) break;
            text.append(data, static_cast<std::size_t>(count));
        }
        return text;
    }

    // Sends from the far end.
    void give(std::string_view text) const {
        EXPECT_EQ(write(far_end_, text.data(), text.size()), static_cast<ssize_t>(text.size()));
    }

    void hang_up() {
        if (far_end_ >= 0) close(far_end_);
        far_end_ = -1;
    }

private:
    int far_end_;
};
