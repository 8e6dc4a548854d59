#include "app/unit.h"

#include "unit_run.h"

#include <cerrno>

namespace {

using Unit = UnitRun;

// Never looks at the stop request.
class Deaf : public K4unit<Deaf> {
public:
    explicit Deaf(k4sim::Microseconds length_us) : length_us_(length_us) {}
    ~Deaf() { end(); }
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
    Deaf unit(1'000);
    EXPECT_EQ(unit.start(false), 0);
    KLTastr text;
    for (int run = 1; run <= 2; ++run) {
        EXPECT_EQ(unit.start(true), 0);
        EXPECT_EQ(unit.start(true), 0);
        EXPECT_TRUE(unit.change(text));
        EXPECT_EQ(characters(text), "running");
        EXPECT_FALSE(unit.change(text)) << "it was told already";
        time_to(unit, "idle");
        EXPECT_TRUE(unit.change(text));
        EXPECT_EQ(unit.start(false), 0);
        EXPECT_FALSE(unit.stopRequested());
        unit.waitend();
        EXPECT_EQ(unit.runs, run);
        EXPECT_EQ(unit.preparations, run);
    }
    k4sim::machine().set_thread_create_failure(1);
    EXPECT_EQ(unit.start(true), EAGAIN);
    EXPECT_EQ(unit.start(true), 0);
    EXPECT_EQ(unit.start(false), 0);
    EXPECT_TRUE(unit.stopRequested());
}

TEST_F(Unit, DestructionEndsARunningTestAtOnce) {
    const k4sim::Microseconds begin = k4sim::machine().now();
    for (const k4sim::Microseconds age_us : {0, 1, 100}) {
        Deaf unit(3600 * second_us);
        ASSERT_EQ(unit.start(true), 0);
        KLFptdelay(age_us);
    }
    EXPECT_LT(k4sim::machine().now() - begin, second_us);
}

TEST_F(Unit, AThreadWithoutAFunctionEndsAtOnce) {
    KLTpthreadT<Deaf> thread;
    EXPECT_EQ(thread.run(), 0);
    thread.waitend();
    EXPECT_FALSE(thread.running());
}

} // namespace
