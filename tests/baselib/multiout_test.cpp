#include "baselib/print/multiout.h"

#include "baselib/print/mprint.h"
#include "recording_sink.h"

#include <algorithm>
#include <array>
#include <gtest/gtest.h>
#include <map>
#include <memory>
#include <string>
#include <utility>

namespace {

// Signs each call in a journal that all share.
class SigningSink : public KLTout {
public:
    SigningSink(std::string& journal, char name) : journal_(journal), name_(name) {}
    void olock() override { sign('<'); }
    void orelease() override { sign('>'); }
    int ochar(int c) override { return sign(static_cast<char>(c)); }
    int oblock(const void* data, int n) override {
        return sign('b', {static_cast<const char*>(data), static_cast<size_t>(n)});
    }
    int ostring(const char* text) override { return sign('s', text); }
    void oflush(bool all) override { sign(all ? 'F' : 'f'); }
    int ofull() override { return 1; }

private:
    int sign(char call, const std::string& data = {}) {
        journal_ += name_ + (call + data);
        return -1;
    }

    std::string& journal_;
    char name_;
};

class LockedFanOut : public KLTmultiout {
public:
    explicit LockedFanOut(std::string& journal) : journal_(journal) {}
    void globalLock() override { journal_ += '('; }
    void globalRelease() override { journal_ += ')'; }

private:
    std::string& journal_;
};

class FanOut : public testing::Test {
protected:
    std::string taken() { return std::exchange(journal, {}); }

    std::string journal;
    SigningSink a{journal, 'a'};
    SigningSink b{journal, 'b'};
    SigningSink c{journal, 'c'};
};

TEST_F(FanOut, CallsGoToTheNewestFirst) {
    KLTmultiout fan_out;
    for (SigningSink* sink : {&a, &b, &c})
        fan_out.add(*sink);
    EXPECT_EQ(fan_out.ochar('x'), 1);
    EXPECT_EQ(taken(), "cxbxax");
    EXPECT_EQ(fan_out.oblock("12", 2), 0);
    EXPECT_EQ(taken(), "cb12bb12ab12");
    EXPECT_EQ(fan_out.ostring("t"), 0);
    EXPECT_EQ(taken(), "cstbstast");
    fan_out.oflush(true);
    fan_out.oflush(false);
    EXPECT_EQ(taken(), "cFbFaFcfbfaf");
    EXPECT_EQ(fan_out.ofull(), 0);
}

TEST_F(FanOut, KnowsEachSinkOnce) {
    KLTmultiout fan_out;
    fan_out.remove(a);
    EXPECT_EQ(fan_out.ochar('x'), 1);
    fan_out.add(a);
    fan_out.add(b);
    fan_out.add(a);
    fan_out.ochar('x');
    EXPECT_EQ(taken(), "bxax");
    fan_out.remove(a);
    EXPECT_FALSE(fan_out.find(a));
    EXPECT_TRUE(fan_out.find(b));
    EXPECT_FALSE(fan_out.off());
    fan_out.removeall();
    EXPECT_FALSE(fan_out.find(b));
    EXPECT_TRUE(fan_out.off());
}

TEST_F(FanOut, LocksItselfAroundItsSinksAndItsChanges) {
    LockedFanOut fan_out(journal);
    fan_out.add(a);
    fan_out.add(b);
    EXPECT_EQ(taken(), "()()");
    fan_out.olock();
    EXPECT_EQ(taken(), "(b<a<");
    fan_out.orelease();
    EXPECT_EQ(taken(), "b>a>)");
    fan_out.remove(a);
    fan_out.removeall();
    EXPECT_EQ(taken(), "()()");
}

TEST_F(FanOut, ADyingSinkLeavesEveryFanOutUnderItsLock) {
    LockedFanOut first(journal);
    LockedFanOut second(journal);
    auto sink = std::make_unique<SigningSink>(journal, 'd');
    first.add(*sink);
    first.add(a);
    second.add(a);
    second.add(*sink);
    taken();
    sink.reset();
    EXPECT_EQ(taken(), "()()");
    first.ochar('1');
    second.ochar('2');
    EXPECT_EQ(taken(), "a1a2");
}

TEST_F(FanOut, SinksDieInEveryOrder) {
    std::string order = "0123";
    do {
        KLTmultiout fan_out;
        std::map<char, SigningSink> sinks;
        for (const char name : {'0', '1', '2', '3'})
            fan_out.add(sinks.try_emplace(name, journal, name).first->second);
        std::string alive = "3210";
        for (const char victim : order) {
            sinks.erase(victim);
            std::erase(alive, victim);
            fan_out.ostring("");
            std::string called = taken();
            std::erase(called, 's');
            EXPECT_EQ(called, alive);
        }
        EXPECT_TRUE(fan_out.off());
    } while (std::ranges::next_permutation(order).found);
}

TEST_F(FanOut, FanOutsDieInEveryOrder) {
    std::array<size_t, 3> order{0, 1, 2};
    do {
        SigningSink sink(journal, 's');
        std::array<std::unique_ptr<KLTmultiout>, 3> fan_outs;
        for (auto& fan_out : fan_outs) {
            fan_out = std::make_unique<KLTmultiout>();
            fan_out->add(sink);
        }
        fan_outs[order[0]].reset();
        fan_outs[order[1]].reset();
        fan_outs[order[2]]->ochar('!');
        EXPECT_EQ(taken(), "s!");
        { const SigningSink passing(journal, 'p'); } // walks the chain that is left
        fan_outs[order[2]].reset();
    } while (std::ranges::next_permutation(order).found);
}

// A fan-out is a sink too.
TEST_F(FanOut, FanOutsNest) {
    KLTmultiout outer;
    {
        KLTmultiout inner;
        inner.add(a);
        outer.add(inner);
        outer.add(b);
        outer.ochar('x');
        EXPECT_EQ(taken(), "bxax");
    }
    outer.ochar('y');
    EXPECT_EQ(taken(), "by");
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
    }
    EXPECT_TRUE(other.find(a)) << "the caller's fan-out outlives the print object";
    EXPECT_EQ(a.take(), "n=3other");
    EXPECT_EQ(b.take(), "n=3!");
}

} // namespace
