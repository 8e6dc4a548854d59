#include "baselib/print/multiout.h"

#include "baselib/print/mprint.h"
#include "recording_sink.h"

#include <gtest/gtest.h>
#include <memory>

namespace {

// The sinks share a journal: what one takes is of all.
class FanOut : public testing::Test {
protected:
    std::string journal;
    RecordingSink a{journal, "a"};
    RecordingSink b{journal, "b"};
};

TEST_F(FanOut, HandsAllToTheNewestFirstAndLocksItselfAroundItsChanges) {
    // Square with sinks, round without.
    struct Locked : KLTmultiout {
        explicit Locked(std::string& calls) : calls_(calls) {}
        void globalLock() override { calls_ += off() ? '(' : '['; }
        void globalRelease() override { calls_ += off() ? ')' : ']'; }
        std::string& calls_;
    } fan_out(journal);
    for (RecordingSink* sink : {&a, &b, &a})
        fan_out.add(*sink);
    EXPECT_EQ(a.take(), "(][][]");
    fan_out.olock();
    EXPECT_EQ(fan_out.ochar('x'), 1);
    EXPECT_EQ(fan_out.oblock("1\0", 2) | fan_out.ostring("s") | fan_out.ofull(), 0);
    fan_out.oflush(true);
    fan_out.orelease();
    EXPECT_EQ(a.take(), std::string("[b<a<bxaxb1b\0a1a\0bsasbFaFb>a>]", 30));
    fan_out.remove(a);
    EXPECT_FALSE(fan_out.find(a));
    EXPECT_TRUE(fan_out.find(b));
    fan_out.removeall();
    EXPECT_EQ(a.take(), "[][)");
}

// Fan-outs are sinks, too.
TEST_F(FanOut, DyingSinksAndFanOutsLeaveTheOthers) {
    for (const int victim : {0, 1, 2}) {
        KLTmultiout outer;
        std::unique_ptr<KLTmultiout> parts[3];
        auto dying = std::make_unique<RecordingSink>();
        for (auto& part : parts) {
            outer.add(*(part = std::make_unique<KLTmultiout>()));
            part->add(a);
            part->add(*dying);
        }
        parts[victim].reset();
        dying.reset();
        outer.ochar('x');
        EXPECT_EQ(a.take(), "axax");
    }
}

TEST_F(FanOut, ASinkMayTakeItselfOffWhileItIsWrittenTo) {
    struct Shy : RecordingSink {
        explicit Shy(KLTmultiout& from) : fan_out(from) {}
        int ochar(int c) override {
            fan_out.remove(*this);
            return RecordingSink::ochar(c);
        }
        KLTmultiout& fan_out;
    };
    KLTmultiout fan_out;
    Shy first(fan_out), second(fan_out);
    fan_out.add(a);
    for (Shy* shy : {&first, &second})
        fan_out.add(*shy);
    for (const char c : {'x', 'y'})
        fan_out.ochar(c);
    EXPECT_EQ(first.take() + second.take() + a.take(), "xxaxay");
    EXPECT_FALSE(fan_out.find(first));
    fan_out.removeall();
    EXPECT_TRUE(fan_out.off());
}

TEST_F(FanOut, IsAPrintObjectsOwnOrAnothers) {
    KLTmultiout other;
    {
        KLTmprint print;
        print.add(b);
        print << 3;
        print.setMultiout(other);
        print.add(a);
    }
    KLTmprint(other) << 4;
    EXPECT_EQ(a.take(), "b3a4") << "the caller's fan-out outlives the print object";
}

} // namespace
