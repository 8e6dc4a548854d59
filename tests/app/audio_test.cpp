#include "app/audio_test.h"

#include "hw/ports.h"
#include "unit_run.h"

#include <cstdio>
#include <cstdlib>
#include <exception>
#include <gmock/gmock.h>
#include <memory>

namespace {

using k4sim::Board;
using testing::ElementsAre;

std::atomic<bool> delay_throws{false};

struct DelayFailed {};

class AudioTest : public UnitRun {
protected:
    static const k4sim::CodecSettings& settings() {
        return device().sound_card().codec().settings();
    }

    // Phantom power and boost are off, and the input level is that of the line.
    static bool inputs_are_safe() {
        const int nominal = device().board() == Board::aes ? 24 : 0;
        const k4sim::CodecSettings::Pair<bool> off{};
        return settings().phantom == off && settings().boost == off &&
               settings().line_in == k4sim::CodecSettings::Pair<int>{nominal, nominal};
    }

    // Starts the test on a board and lets it go on to that text; where loopback is waited for,
    // until phantom power is on.
    void run_to(const std::string& text, Board board = Board::aes) {
        unit.reset();
        use_board(board);
        unit = std::make_unique<K4owned<K4STaudio>>(true);
        ASSERT_EQ(unit->start(true), 0);
        if (text != "Silence/DC -") time_until([] { return settings().phantom[0]; });
        if (text == "Loop gain ") device().sound_card().plug_analog(true);
        time_until([&] { return characters(unit->info()).starts_with(text); });
    }

    std::unique_ptr<K4owned<K4STaudio>> unit;
};

TEST_F(AudioTest, MakesTheInputsSafeHoweverItEnds) {
    for (const Board board : {Board::aes, Board::plain}) {
        for (const char* text : {"Silence/DC -", "Voltages, loopback", "Loop gain "}) {
            run_to(text, board);
            EXPECT_FALSE(inputs_are_safe()) << "nothing to make safe at " << text;
            EXPECT_LE(time_to_stop(*unit), 1.0) << text;
            EXPECT_TRUE(inputs_are_safe()) << text;
            run_to(text, board);
            unit.reset();
            EXPECT_TRUE(inputs_are_safe()) << text << " when cancelled";
        }
    }
}

TEST_F(AudioTest, SwitchesTheInputsOfTheMask) {
    portRequestPrivilege();
    for (const Board board : {Board::aes, Board::plain}) {
        run_to("Silence/DC -", board);
        time_to_stop(*unit);
        EXPECT_EQ(unit->setMicBoost(true, 2), 0);
        EXPECT_EQ(unit->setMicPhant(true, 1), 0);
        EXPECT_THAT(settings().boost, ElementsAre(false, true));
        EXPECT_THAT(settings().phantom, ElementsAre(true, false));
        EXPECT_EQ(unit->setMicBoost(true, 3), 0);
        EXPECT_EQ(unit->setMicBoost(false, 2), 0);
        EXPECT_EQ(unit->setMicPhant(false, 3), 0);
        EXPECT_EQ(unit->setMicPhant(true, 0), 0);
        EXPECT_THAT(settings().boost, ElementsAre(true, false));
        EXPECT_THAT(settings().phantom, ElementsAre(false, false));
    }
}

// An exception ends the process, and not before the inputs are safe.
TEST_F(AudioTest, MakesTheInputsSafeBeforeAnExceptionEndsTheProcess) {
    const auto die = [this] {
        std::set_terminate([] {
            fprintf(stderr, inputs_are_safe() ? "inputs are safe" : "inputs are not safe");
            abort();
        });
        run_to("Voltages, loopback");
        delay_throws = true;
        unit->waitend();
    };
    EXPECT_DEATH(die(), "inputs are safe");
}

TEST_F(AudioTest, NeitherSpinsNorGoesDeafWherePlayingFails) {
    run_to("Silence/DC -");
    AudioStreams streams; // not open
    KLTprint print;
    const AudioLoop::Manner manner{1000, 1000, 50'000, "", nullptr};
    AudioLoop loop(streams, 2, manner, print);
    EXPECT_NEAR(time_until([&] { return loop.run(*unit); }), 0.05, 0.001);
    unit->start(false);
    EXPECT_FALSE(loop.run(*unit));
}

} // namespace

extern "C" void __real__Z8KLFdelayx(long long microseconds);

extern "C" void __wrap__Z8KLFdelayx(long long microseconds) {
    if (delay_throws) throw DelayFailed();
    __real__Z8KLFdelayx(microseconds);
}
