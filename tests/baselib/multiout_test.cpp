#include "baselib/print/multiout.h"

#include "baselib/print/mprint.h"
#include "recording_sink.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <memory>
#include <vector>

namespace {

class LockedFanOut : public KLTmultiout {
public:
    explicit LockedFanOut(std::string& journal) : journal_(journal) {}
    void globalLock() override { journal_ += '('; }
    void globalRelease() override { journal_ += ')'; }

private:
    std::string& journal_;
};

// Sinks that share a journal.
class FanOut : public testing::Test {
protected:
    std::string taken() { return std::exchange(journal, {}); }

    std::string journal;
    RecordingSink a{journal, "a"};
    RecordingSink b{journal, "b"};
    RecordingSink c{journal, "c"};
};

TEST_F(FanOut, CallsGoToTheNewestFirst) {
    KLTmultiout fan_out;
    for (RecordingSink* sink : {&a, &b, &c, &a})
        fan_out.add(*sink);
    EXPECT_EQ(fan_out.ochar('x'), 1);
    EXPECT_EQ(fan_out.oblock("1\0", 2), 0);
    EXPECT_EQ(fan_out.ostring("st"), 0);
    EXPECT_EQ(taken(), std::string("cxbxaxc1c\0b1b\0a1a\0csctbsbtasat", 30));
    fan_out.oflush(true);
    fan_out.oflush(false);
    EXPECT_EQ(taken(), "cFbFaFcfbfaf");
    EXPECT_EQ(fan_out.ofull(), 0);
}

TEST_F(FanOut, LocksItselfAroundItsSinksAndItsChanges) {
    LockedFanOut fan_out(journal);
    fan_out.remove(a);
    fan_out.add(a);
    fan_out.add(b);
    fan_out.olock();
    EXPECT_EQ(taken(), "()()()(b<a<");
    fan_out.orelease();
    fan_out.remove(a);
    EXPECT_EQ(taken(), "b>a>)()");
    EXPECT_FALSE(fan_out.find(a));
    EXPECT_TRUE(fan_out.find(b));
    EXPECT_FALSE(fan_out.off());
    { const RecordingSink dying; }
    fan_out.removeall();
    EXPECT_TRUE(fan_out.off());
    EXPECT_EQ(taken(), "()()");
}

// Three fan-outs with the three sinks, each fan-out a sink too, in a fourth.
TEST_F(FanOut, SinksAndFanOutsDieInEveryOrder) {
    std::vector<int> order{0, 1, 2, 3, 4, 5};
    do {
        KLTmultiout outer;
        std::unique_ptr<KLTout> sinks[3];
        std::unique_ptr<KLTmultiout> fan_outs[3];
        for (int i = 0; i < 3; ++i)
            sinks[i] = std::make_unique<RecordingSink>(journal, std::to_string(i));
        for (auto& fan_out : fan_outs) {
            outer.add(*(fan_out = std::make_unique<KLTmultiout>()));
            for (const auto& sink : sinks)
                fan_out->add(*sink);
        }
        for (const int victim : order) {
            victim < 3 ? sinks[victim].reset() : fan_outs[victim - 3].reset();
            std::string alive;
            for (int i = 2; i >= 0; --i)
                alive += sinks[i] != nullptr ? std::to_string(i) + "!" : "";
            std::string expected;
            for (const auto& fan_out : fan_outs)
                expected += fan_out != nullptr ? alive : "";
            outer.ochar('!');
            ASSERT_EQ(taken(), expected);
        }
        EXPECT_TRUE(outer.off());
    } while (std::ranges::next_permutation(order).found);
}

TEST(Mprint, PrintsToItsOwnOrAnothersFanOut) {
    RecordingSink a;
    RecordingSink b;
    KLTmultiout other;
    {
        KLTmprint print;
        print.add(a);
        print.add(b);
        print << "n=" << 3;
        print.remove(a);
        print << "!";
        print.setMultiout(other);
        print.add(a);
        print << "other";
        KLTmprint(other) << "s";
    }
    EXPECT_TRUE(other.find(a)) << "the caller's fan-out outlives the print object";
    EXPECT_EQ(a.take(), "n=3others");
    EXPECT_EQ(b.take(), "n=3!");
}

} // namespace
