#include "app/aesebu_test.h"

#include "sim/models/device.h"
#include "unit_run.h"

#include <memory>

namespace {

using Direction = KLTalsaPCMline::Direction;
using k4sim::Microseconds;

constexpr Microseconds second_us = 1'000'000;
constexpr Microseconds pass_us = 100'000;
constexpr Microseconds stable_us = 5 * second_us;

k4sim::SoundCard& card() { return k4sim::machine().device().sound_card(); }

bool isFree(Direction direction) {
    KLTalsaPCMline line;
    return line.open("hw:0,1", direction);
}

class AesebuTest : public UnitRun {
protected:
    AesebuTest() {
        k4sim::machine().reset();
        unit = std::make_unique<K4STaesebu>();
    }
    ~AesebuTest() override {
        unit.reset();
        k4sim::machine().reset();
    }

    // The time until the unit shows the text.
    Microseconds timeTo(const char* text) {
        const Microseconds before = k4sim::machine().now();
        EXPECT_TRUE(shows(*unit, text, 30 * second_us));
        return k4sim::machine().now() - before;
    }

    std::unique_ptr<K4STaesebu> unit;
};

// From the beginning to the end, each step lasting as long as it must be stable.
TEST_F(AesebuTest, AsksForEveryRateInTurn) {
    ASSERT_EQ(unit->start(true), 0);
    timeTo("Wait for cable unplugged");
    EXPECT_NEAR(static_cast<double>(timeTo("Wait for 32000 Hz 'LOCK'")), stable_us, pass_us);
    card().plug_digital(true);
    for (const char* next : {"Wait for 44100 Hz 'LOCK'", "Wait for 48000 Hz 'LOCK'", "OK"})
        EXPECT_NEAR(static_cast<double>(timeTo(next)), stable_us, 0.2 * stable_us) << next;
    unit->waitend();
    EXPECT_TRUE(isFree(Direction::capture));
    EXPECT_TRUE(isFree(Direction::playback));
}

TEST_F(AesebuTest, StartsTheTimeAgainWhenTheCableMoves) {
    card().plug_digital(true);
    ASSERT_EQ(unit->start(true), 0);
    EXPECT_FALSE(shows(*unit, "Wait for 32000 Hz 'LOCK'", 20 * second_us));
    card().plug_digital(false);
    EXPECT_NEAR(static_cast<double>(timeTo("Wait for 32000 Hz 'LOCK'")), stable_us, 2 * pass_us);
    card().plug_digital(true);
    KLFptdelay(3 * second_us);
    testing::internal::CaptureStdout();
    card().plug_digital(false);
    KLFptdelay(second_us);
    card().plug_digital(true);
    EXPECT_GE(timeTo("Wait for 44100 Hz 'LOCK'"), stable_us);
    fflush(stdout);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "Lost lock\r\n");
}

// Until the next start or the end of the unit.
TEST_F(AesebuTest, HoldsWhatItHadOpenedWhenItFails) {
    card().remove_transmitter();
    ASSERT_EQ(unit->start(true), 0);
    unit->waitend();
    EXPECT_FALSE(isFree(Direction::capture));
    k4sim::machine().reset();
    k4sim::machine().apply_fault({"aes-transmitter-refuses", "", 0});
    for (int start = 0; start < 2; ++start) { // not kept out by what it holds itself
        ASSERT_EQ(unit->start(true), 0);
        unit->waitend();
        EXPECT_EQ(characters(unit->info()), "SR config error -1");
        EXPECT_FALSE(isFree(Direction::capture));
        EXPECT_FALSE(isFree(Direction::playback));
    }
    unit.reset();
    EXPECT_TRUE(isFree(Direction::capture));
    EXPECT_TRUE(isFree(Direction::playback));
}

TEST_F(AesebuTest, StopsWithItsTextAsItWas) {
    ASSERT_EQ(unit->start(true), 0);
    timeTo("Wait for 32000 Hz 'LOCK'");
    const Microseconds before = k4sim::machine().now();
    unit->start(false);
    unit->waitend();
    EXPECT_LE(k4sim::machine().now() - before, pass_us + 10'000);
    EXPECT_EQ(characters(unit->info()), "Wait for 32000 Hz 'LOCK'");
    EXPECT_TRUE(isFree(Direction::playback));
}

} // namespace
