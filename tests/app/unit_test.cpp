#include "app/unit.h"

#include "unit_run.h"

#include <cerrno>

namespace {

using Unit = UnitRun;

// Never looks at the stop request.
class Deaf : public K4unit<Deaf> {
public:
    explicit Deaf(k4sim::Microseconds length_us) : length_us_(length_us) {}
    KLTastr info() override { return running() ? "running" : "idle"; }
    void prepare() { ++preparations; }
    void tfunc() {
        KLFptdelay(length_us_);
        ++runs;
    }

    int preparations = 0;
    int runs = 0;

private:
    const k4sim::Microseconds length_us_;
};

TEST_F(Unit, RunsOneThreadAndAsksOnlyThatToStop) {
    K4owned<Deaf> unit(1'000);
    EXPECT_EQ(unit.start(false), 0);
    KLTastr text;
    for (int run = 1; run <= 2; ++run) {
        for (const bool is_new : {true, false}) {
            EXPECT_EQ(unit.start(true), 0);
            EXPECT_EQ(unit.change(text), is_new);
            EXPECT_EQ(characters(text), "running");
        }
        time_to(unit, "idle");
        EXPECT_TRUE(unit.change(text));
        EXPECT_EQ(unit.start(false), 0);
        EXPECT_FALSE(unit.stopRequested());
        unit.waitend();
        EXPECT_EQ(unit.runs * 10 + unit.preparations, run * 11);
    }
    k4sim::machine().set_thread_create_failure(1);
    EXPECT_EQ(unit.start(true), EAGAIN);
    EXPECT_EQ(unit.start(true), 0);
    EXPECT_EQ(unit.start(false), 0);
    EXPECT_TRUE(unit.stopRequested());
}

TEST_F(Unit, ADestroyedOneAndAThreadWithoutAFunctionEndAtOnce) {
    const k4sim::Microseconds begin = k4sim::machine().now();
    for (const k4sim::Microseconds age_us : {0, 1, 100}) {
        K4owned<Deaf> unit(3600 * second_us);
        ASSERT_EQ(unit.start(true), 0);
        KLFptdelay(age_us);
    }
    KLTpthreadT<Deaf> without_function;
    EXPECT_EQ(without_function.run(), 0);
    without_function.waitend();
    EXPECT_LT(k4sim::machine().now() - begin, second_us);
}

} // namespace
