#include "baselib/print/modifier.h"

#include "baselib/print/nstream.h"
#include "recording_sink.h"

#include <gtest/gtest.h>
#include <memory>

namespace {

class Count : public KLTmodifierUserData {
public:
    Count() { ++live; }
    ~Count() override { --live; }
    void reset() override { value = 0; }

    int value = 0;
    inline static int live = 0;
};

// Prints how often it was printed to this print object.
class Counter : public KLTmodifierUser {
public:
    using KLTmodifierUser::KLTmodifierUser;

protected:
    KLTmodifierUserData* apply(KLTprint& print, KLTmodifierUserData* data) const override {
        auto* count = data != nullptr ? static_cast<Count*>(data) : new Count;
        print << ++count->value;
        return count;
    }
};

class UserModifiers : public testing::Test {
protected:
    void TearDown() override { EXPECT_EQ(Count::live, 0); }

    RecordingSink sink;
    const char keys[3]{};
    const Counter a{&keys[0]};
    const Counter b{&keys[1]};
    const Counter c{&keys[2]};
};

TEST_F(UserModifiers, KeepDataPerPrintObjectAndKeyUntilReset) {
    KLTprint print(sink);
    KLTprint other(sink);
    print << a << a << b << Counter(&keys[0]);
    other << a;
    EXPECT_EQ(sink.take(), "12131");
    print << KLNstream::norm << a << b << KLNstream::pers << a;
    print.persistent(false);
    print << a << b;
    EXPECT_EQ(sink.take(), "11211");
    EXPECT_EQ(Count::live, 3) << "a reset makes no new data";
}

TEST_F(UserModifiers, DataIsFreedOneByOneOrAltogetherOrForgotten) {
    KLTprint print(sink);
    print << a << b << c;
    print.delModifier(&keys[1]);
    print.delModifier(&keys[1]);
    EXPECT_EQ(Count::live, 2);
    EXPECT_EQ(print.findModifier(&keys[1]), nullptr);
    print << a << b << c;
    print.freemem();
    EXPECT_EQ(Count::live, 0);
    print << a;
    EXPECT_EQ(sink.take(), "1112121");
    const std::unique_ptr<KLTmodifierUserData> data(print.findModifier(&keys[0]));
    print.init();
    EXPECT_EQ(print.findModifier(&keys[0]), nullptr);
    EXPECT_EQ(Count::live, 1);
}

TEST_F(UserModifiers, MayKeepNothing) {
    struct Forgetful : KLTmodifierUser {
        using KLTmodifierUser::KLTmodifierUser;
        KLTmodifierUserData* apply(KLTprint& p, KLTmodifierUserData* data) const override {
            p << (data == nullptr ? "new" : "known");
            return nullptr;
        }
    };
    KLTprint print(sink);
    print << Forgetful(&keys[0]) << Forgetful(&keys[0]);
    EXPECT_EQ(sink.take(), "newnew");
}

} // namespace
