// The console is there before any static initialiser and behind every static destructor.

#include "baselib/print/nstream.h"
#include "baselib/print/out_handle.h"
#include "baselib/print/print.h"

#include <cstdlib>
#include <gtest/gtest.h>

namespace {

// Needs no initialisation itself, so it can be written to at any time.
class EarlySink : public KLTout {
public:
    constexpr EarlySink() = default;
    int ochar(int c) override {
        if (length_ < static_cast<int>(sizeof text_) - 1) text_[length_++] = static_cast<char>(c);
        return 1;
    }
    int ofull() override { return 0; }
    const char* text() const { return text_; }

private:
    char text_[64]{};
    int length_ = 0;
};

constinit EarlySink early;
constinit bool speakAtExit = false;

void speak(KLTprint& print) {
    print << KLNstream::Hex8 << 255 << KLNstream::width(4, '*') << 1 << KLNstream::cr;
}

class Speaker {
public:
    Speaker() {
        for (KLTprint* print : {&pout, &perr}) {
            KLTout& usual = print->output();
            print->output(&early);
            speak(*print);
            print->output(&usual);
        }
    }
    ~Speaker() {
        if (speakAtExit) speak(perr);
    }
};

// The first priority that is the program's: constructed before, destroyed behind all others.
[[gnu::init_priority(101)]] Speaker firstAndLast;
// And the usual one.
Speaker usual;

TEST(StaticOrder, ConsolePrintsInStaticInitialisers) {
    EXPECT_STREQ(early.text(), "000000FF***1\n000000FF***1\n000000FF***1\n000000FF***1\n");
}

TEST(StaticOrder, ConsoleIsOnItsStreams) {
    EXPECT_EQ(&pout.output(), &devout);
    EXPECT_EQ(&perr.output(), &deverr);
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    pout << "to output" << KLNstream::crf;
    perr << "to error" << KLNstream::crf;
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "to output\n");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "to error\n");
}

void exitSpeaking() {
    speakAtExit = true;
    exit(0);
}

TEST(StaticOrderDeathTest, ConsolePrintsInStaticDestructors) {
    EXPECT_EXIT(exitSpeaking(), testing::ExitedWithCode(0),
                "^000000FF\\*\\*\\*1\n000000FF\\*\\*\\*1\n$");
}

} // namespace
