#include "baselib/print/multiout.h"

#include "baselib/print/mprint.h"
#include "recording_sink.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <memory>
#include <vector>

namespace {

// The sinks share a journal: what one takes is of all.
class FanOut : public testing::Test {
protected:
    std::string journal;
    RecordingSink a{journal, "a"};
    RecordingSink b{journal, "b"};
};

TEST_F(FanOut, CallsGoToTheNewestFirst) {
    KLTmultiout fan_out;
    for (RecordingSink* sink : {&a, &b, &a})
        fan_out.add(*sink);
    EXPECT_EQ(fan_out.ochar('x'), 1);
    EXPECT_EQ(fan_out.oblock("1\0", 2), 0);
    EXPECT_EQ(fan_out.ostring("st"), 0);
    fan_out.oflush(true);
    fan_out.oflush(false);
    EXPECT_EQ(fan_out.ofull(), 0);
    EXPECT_EQ(a.take(), std::string("bxaxb1b\0a1a\0bsbtasatbFaFbfaf", 28));
}

TEST_F(FanOut, LocksItselfAroundItsSinksAndItsChanges) {
    // Square with sinks, round without.
    struct Locked : KLTmultiout {
        explicit Locked(std::string& calls) : calls_(calls) {}
        void globalLock() override { calls_ += off() ? '(' : '['; }
        void globalRelease() override { calls_ += off() ? ')' : ']'; }
        std::string& calls_;
    } fan_out(journal);
    fan_out.remove(a);
    fan_out.add(a);
    fan_out.remove(a);
    fan_out.add(a);
    fan_out.add(b);
    fan_out.olock();
    EXPECT_EQ(a.take(), "()(][)(][][b<a<");
    fan_out.orelease();
    fan_out.remove(a);
    { const RecordingSink dying; }
    EXPECT_EQ(a.take(), "b>a>][][]");
    EXPECT_FALSE(fan_out.find(a));
    EXPECT_TRUE(fan_out.find(b));
    fan_out.removeall();
    EXPECT_EQ(a.take(), "[)");
}

// Three sinks in three fan-outs, which are sinks too, in a fourth.
TEST_F(FanOut, SinksAndFanOutsDieInEveryOrder) {
    std::vector<int> order{0, 1, 2, 3, 4, 5};
    do {
        KLTmultiout outer;
        std::unique_ptr<RecordingSink> sinks[3];
        std::unique_ptr<KLTmultiout> fan_outs[3];
        for (auto& sink : sinks)
            sink = std::make_unique<RecordingSink>(journal, std::to_string(&sink - sinks));
        for (auto& fan_out : fan_outs) {
            outer.add(*(fan_out = std::make_unique<KLTmultiout>()));
            for (const auto& sink : sinks)
                fan_out->add(*sink);
        }
        for (const int victim : order) {
            victim < 3 ? sinks[victim].reset() : fan_outs[victim - 3].reset();
            std::string expected;
            for (const auto& fan_out : fan_outs)
                for (const int i : {2, 1, 0})
                    if (fan_out && sinks[i]) expected += std::to_string(i) + '!';
            outer.ochar('!');
            ASSERT_EQ(a.take(), expected);
        }
        EXPECT_TRUE(outer.off());
    } while (std::ranges::next_permutation(order).found);
}

TEST_F(FanOut, IsAPrintObjectsOwnOrAnothers) {
    KLTmultiout other;
    {
        KLTmprint print;
        print.add(a);
        print.add(b);
        print << 3;
        print.remove(a);
        print << 4;
        print.setMultiout(other);
        print.add(a);
        print << 5;
        KLTmprint(other) << 6;
    }
    EXPECT_TRUE(other.find(a)) << "the caller's fan-out outlives the print object";
    EXPECT_EQ(a.take(), "b3a3b4a5a6");
}

} // namespace
