#include "baselib/bittester.h"

#include <gtest/gtest.h>
#include <string>

namespace {

// Lines of every behaviour: the bits of (line + 3) % 16 say what the line reads while nothing
// (8), all others (4), it alone (2) and all lines (1) are high.
class EveryLine : public KLTbitTester {
public:
    unsigned long outNin(unsigned long value) override {
        out = value;
        unsigned long in = 0;
        for (unsigned line = 0; line < 32; ++line) {
            const unsigned long own = 1UL << line;
            const unsigned bit = value == 0 ? 8 : value == own ? 2 : value == 0xFFFFFFFF ? 1 : 4;
            if ((line + 3) & bit) in |= own;
        }
        return in;
    }
    unsigned long out = 1;
};

TEST(BitTester, JudgesEveryBehaviourOfALineAtItsPlace) {
    EveryLine port;
    EXPECT_FALSE(port.test(32));
    EXPECT_STREQ(port.bitMap(), "+0LHH0LHH01110LH+0LHH0LHH01110LH");
    EXPECT_EQ(port.out, 0U) << "lines left high";
    EXPECT_TRUE(port.test(1)) << "only the first is tested, which is good";
    EXPECT_FALSE(port.test(17)) << "though the last is good";
}

TEST(BitTester, WidthIsTheLimit) {
    KLTbitTester perfect;
    EXPECT_EQ(perfect.bitMap(), std::string(32, '-'));
    for (const auto& [bits, tested] : {std::pair{100, 32U}, {3, 3U}, {-1, 0U}}) {
        EXPECT_TRUE(perfect.test(bits));
        EXPECT_EQ(perfect.bitMap(), std::string(tested, '+'));
    }
}

} // namespace
