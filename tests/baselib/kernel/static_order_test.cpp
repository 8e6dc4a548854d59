// The console is there before any static initialiser and behind every static destructor.

#include "baselib/print/nstream.h"
#include "baselib/print/out_handle.h"

#include <cstdlib>
#include <gtest/gtest.h>

namespace {

constexpr const char* asked = "K4_TEST_SPEAKS";

// In a process that is asked to, speaks as soon as there is any object, and as long.
class Speaker {
public:
    Speaker() { speak(); }
    ~Speaker() { speak(); }

private:
    static void speak() {
        if (getenv(asked) == nullptr) return;
        pout.output(&deverr);
        for (KLTprint* print : {&pout, &perr})
            *print << KLNstream::Hex8 << 255 << KLNstream::width(4, '*') << 1 << KLNstream::cr;
    }
};

// The first priority that is the program's: constructed before, destroyed behind all others.
[[gnu::init_priority(101)]] Speaker first_and_last;
// And the usual one.
Speaker usual;

TEST(StaticOrderDeathTest, ConsolePrintsInStaticInitialisersAndDestructors) {
    GTEST_FLAG_SET(death_test_style, "threadsafe"); // the program starts anew
    setenv(asked, "1", 1);
    EXPECT_EXIT(exit(0), testing::ExitedWithCode(0), "^(000000FF[*]{3}1\n){8}$");
    unsetenv(asked);
    EXPECT_EQ(&pout.output(), &devout);
    EXPECT_EQ(&perr.output(), &deverr);
}

} // namespace
