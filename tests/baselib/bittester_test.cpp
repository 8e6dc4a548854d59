#include "baselib/bittester.h"

#include <functional>
#include <gtest/gtest.h>
#include <string>

namespace {

using Wiring = unsigned long (*)(unsigned long);

// A port whose wiring is a function from what is put out to what comes back.
class WiredPort : public KLTbitTester {
public:
    explicit WiredPort(std::function<unsigned long(unsigned long)> wiring)
        : wiring_(std::move(wiring)) {}
    unsigned long outNin(unsigned long value) override {
        last_out = value;
        return wiring_(value);
    }
    unsigned long last_out = 1;

private:
    std::function<unsigned long(unsigned long)> wiring_;
};

TEST(BitTester, MapsEachLineAtItsPlace) {
    constexpr struct {
        const char* map;
        Wiring wiring;
    } wirings[] = {
        {"++++++++", [](unsigned long v) { return v; }},
        {"++++0+++", [](unsigned long v) { return v & ~0x10UL; }},
        {"++1+++++", [](unsigned long v) { return v | 0x04; }},
        // Line 7 reads line 6.
        {"+++++++L", [](unsigned long v) { return (v & 0x7F) | ((v & 0x40) << 1); }},
        // Comes high with any line.
        {"+++++++H", [](unsigned long v) { return v != 0 ? v | 0x80 : 0; }},
    };
    for (const auto& [map, wiring] : wirings) {
        WiredPort port(wiring);
        EXPECT_EQ(port.test(8), std::string(map) == "++++++++");
        EXPECT_STREQ(port.bitMap(), map);
        EXPECT_EQ(port.last_out, 0U) << "lines left high";
    }
}

// What bit 0 reads while nothing, all others, it alone, and all lines are put out.
TEST(BitTester, JudgesEveryBehaviourOfALine) {
    const struct {
        bool none, others, alone, all;
        char mark;
    } behaviours[] = {
        {0, 0, 0, 0, '0'}, {0, 0, 0, 1, 'L'}, {0, 0, 1, 0, 'H'}, {0, 0, 1, 1, '+'},
        {0, 1, 0, 0, '0'}, {0, 1, 0, 1, 'L'}, {0, 1, 1, 0, 'H'}, {0, 1, 1, 1, 'H'},
        {1, 0, 0, 0, '0'}, {1, 0, 0, 1, 'L'}, {1, 0, 1, 0, 'H'}, {1, 0, 1, 1, 'H'},
        {1, 1, 0, 0, '0'}, {1, 1, 0, 1, '1'}, {1, 1, 1, 0, '1'}, {1, 1, 1, 1, '1'},
    };
    for (const auto& line : behaviours) {
        WiredPort port([&line](unsigned long out) -> unsigned long {
            return out == 0            ? line.none
                   : out == 1          ? line.alone
                   : out == 0xFFFFFFFF ? line.all
                                       : line.others;
        });
        EXPECT_EQ(port.test(1), line.mark == '+');
        EXPECT_EQ(port.bitMap(), std::string(1, line.mark))
            << line.none << line.others << line.alone << line.all;
    }
}

TEST(BitTester, WidthIsTheLimit) {
    KLTbitTester perfect;
    EXPECT_EQ(perfect.bitMap(), std::string(32, '-'));
    EXPECT_TRUE(perfect.test(100));
    EXPECT_EQ(perfect.bitMap(), std::string(32, '+'));
    EXPECT_TRUE(perfect.test(3));
    EXPECT_EQ(perfect.bitMap(), std::string(3, '+'));
    EXPECT_TRUE(perfect.test(-1));
    EXPECT_EQ(perfect.bitMap(), std::string());
}

} // namespace
