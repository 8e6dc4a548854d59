// The automatic operator at a panel whose program is played by the test.
#include "sim/operator/auto_operator.h"

#include "panel_program.h"

#include <algorithm>
#include <gtest/gtest.h>

namespace {

using namespace k4sim;

constexpr Microseconds second = 1'000'000;
constexpr Microseconds patience = 120 * second;
constexpr int escape_code = 15;

struct Bench {
    explicit Bench(PanelProgram::Keypad keypad = PanelProgram::Keypad::fitted,
                   std::uint64_t seed = 1)
        : program(device, surroundings, keypad),
          person(seed, device, surroundings, [](const FaultSetting&) {}) {}

    void run(Microseconds duration) {
        person.start();
        program.start();
        surroundings.advance(duration);
    }

    FakeSurroundings surroundings;
    Device device{Board::aes, surroundings};
    PanelProgram program;
    AutoOperator person;
};

TEST(AutoOperator, TouchesNothingBeforeTheGlassLightsUp) {
    Bench bench;
    bench.person.start();
    bench.surroundings.advance(10 * 60 * second);
    EXPECT_TRUE(std::ranges::none_of(bench.surroundings.events, [](const std::string& event) {
        return event.starts_with("operator ");
    }));
}

TEST(AutoOperator, OperatesEverythingOneByOneThenPressesEscTwice) {
    for (std::uint64_t seed = 1; seed <= 20; ++seed) {
        Bench bench(PanelProgram::Keypad::fitted, seed);
        bench.run(60 * second);
        EXPECT_EQ(bench.program.status(), "OK") << "seed " << seed;
        ASSERT_TRUE(bench.program.aborted()) << "seed " << seed;
        EXPECT_EQ(bench.program.most_keys_at_once(), 1);
        // Everything once, and Esc twice more; the start key that was swallowed came again.
        std::vector<int> keys = bench.program.keys();
        ASSERT_EQ(keys.size(), 24U) << "seed " << seed;
        EXPECT_EQ(keys[22], escape_code);
        EXPECT_EQ(keys[23], escape_code);
        keys.resize(22);
        std::ranges::sort(keys);
        for (int code = 0; code < 22; ++code)
            EXPECT_EQ(keys[static_cast<std::size_t>(code)], code) << "seed " << seed;
    }
}

TEST(AutoOperator, DoesAgainWhateverTheScreenStillAsksFor) {
    for (const auto keypad : {PanelProgram::Keypad::fitted, PanelProgram::Keypad::absent}) {
        Bench bench(keypad);
        bench.program.set_forgetful(21); // all of the first round
        bench.run(60 * second);
        EXPECT_EQ(bench.program.status(), "OK");
        EXPECT_TRUE(bench.program.aborted());
    }
}

TEST(AutoOperator, GivesAUnitTwoMinutesToChangeItsText) {
    Bench bench;
    bench.program.set_other_status("First error");
    bench.run(90 * second);
    bench.program.set_other_status("Error 2");
    bench.surroundings.advance(patience + 10 * second);
    EXPECT_EQ(bench.program.status(), "OK");
    ASSERT_TRUE(bench.program.aborted());
    EXPECT_GE(bench.program.aborted_at(), 90 * second + patience);
    EXPECT_LE(bench.program.aborted_at(), 90 * second + patience + 3 * second);
}

} // namespace
