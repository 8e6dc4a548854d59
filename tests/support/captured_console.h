// What the process writes to standard output and standard error, kept from the test's own output.
#pragma once

#include <cstdio>
#include <gtest/gtest.h>
#include <string>

class CapturedConsole {
public:
    CapturedConsole() {
        testing::internal::CaptureStdout();
        testing::internal::CaptureStderr();
    }
    ~CapturedConsole() { end(); }
    CapturedConsole(const CapturedConsole&) = delete;
    CapturedConsole& operator=(const CapturedConsole&) = delete;

    // Each ends the capture.
    const std::string& out() { return end(), out_; }
    const std::string& error() { return end(), error_; }

private:
    void end() {
        if (ended_) return;
        ended_ = true;
        std::fflush(nullptr);
        out_ = testing::internal::GetCapturedStdout();
        error_ = testing::internal::GetCapturedStderr();
    }

    bool ended_ = false;
    std::string out_;
    std::string error_;
};
