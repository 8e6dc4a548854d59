// The console is there before any static initialiser and behind every static destructor.

#include "baselib/print/nstream.h"
#include "baselib/print/out_handle.h"

#include <cstdlib>
#include <gtest/gtest.h>

namespace {

// In a process that is asked to, speaks as soon as there is any object, and as long.
struct Speaker {
    Speaker() { speak(); }
    ~Speaker() { speak(); }
    static void speak() {
        if (getenv("K4_TEST_SPEAKS") == nullptr) return;
        pout.output(&deverr);
        pout << KLNstream::Hex8 << 255;
        perr << KLNstream::width(4, '*') << 1 << KLNstream::cr;
    }
};

// The first priority that is the program's: constructed before, destroyed behind all others.
[[gnu::init_priority(101)]] Speaker speaker;

TEST(StaticOrderDeathTest, ConsolePrintsInStaticInitialisersAndDestructors) {
    GTEST_FLAG_SET(death_test_style, "threadsafe"); // the program starts anew
    setenv("K4_TEST_SPEAKS", "1", 1);
    EXPECT_EXIT(exit(0), testing::ExitedWithCode(0), "^(000000FF[*]{3}1\n){2}$");
    unsetenv("K4_TEST_SPEAKS");
    EXPECT_EQ(&pout.output(), &devout);
    EXPECT_EQ(&perr.output(), &deverr);
}

} // namespace
