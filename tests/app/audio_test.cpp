#include "app/audio_test.h"

#include "sim/models/device.h"
#include "unit_run.h"

#include <cstdio>
#include <cstdlib>
#include <exception>
#include <gmock/gmock.h>
#include <memory>

namespace {

using k4sim::Board;
using k4sim::Microseconds;

std::atomic<bool> delayThrows{false};

struct DelayFailed {};

constexpr Microseconds second_us = 1'000'000;
constexpr Microseconds patience_us = 120 * second_us;
constexpr Microseconds stopTime_us = second_us;

constexpr Microseconds step_us = 10'000;

// Texts of the unit, as regular expressions.
constexpr const char* silent = "Silence/DC( -[0-9]+\\.[0-9]){4}";
constexpr const char* searching = "Voltages, loopback";
constexpr const char* gain = "Loop gain( \\(line\\))?( -?[0-9]+\\.[0-9]){2} \\(2\\)";

k4sim::SoundCard& card() { return k4sim::machine().device().sound_card(); }
const k4sim::CodecSettings& settings() { return card().codec().settings(); }

// Phantom power and boost are off, and the input level is that of the line.
bool inputsAreSafe() {
    const int nominal = k4sim::machine().device().board() == Board::aes ? 24 : 0;
    const k4sim::CodecSettings::Pair<bool> off{};
    return settings().phantom == off && settings().boost == off &&
           settings().line_in == k4sim::CodecSettings::Pair<int>{nominal, nominal};
}

class AudioTest : public UnitRun {
protected:
    AudioTest() { use(Board::aes); }
    ~AudioTest() override {
        unit.reset();
        k4sim::machine().reset();
    }

    void use(Board board) {
        unit.reset();
        k4sim::Setup setup;
        setup.board = board;
        k4sim::machine().reset(setup);
        unit = std::make_unique<K4STaudio>(true);
        unit->init();
    }

    // Starts the test and lets it go on until it shows that: phantom power is on at a place
    // where loopback is waited for, boost and input level are the microphone's everywhere.
    void runTo(const char* place) {
        ASSERT_EQ(unit->start(true), 0);
        if (place != silent) {
            ASSERT_TRUE(shows(*unit, searching, patience_us));
        }
        while (place == searching && !settings().phantom[0] && !settings().phantom[1])
            KLFptdelay(step_us);
        if (place == gain) card().plug_analog(true);
        ASSERT_TRUE(matches(place));
    }

    // Lets time go on until the text matches.
    testing::AssertionResult matches(const char* pattern) {
        const Microseconds end = k4sim::machine().now() + patience_us;
        while (!testing::Matches(testing::MatchesRegex(pattern))(characters(unit->info()))) {
            if (k4sim::machine().now() >= end)
                return testing::AssertionFailure() << characters(unit->info());
            KLFptdelay(step_us);
        }
        return testing::AssertionSuccess();
    }

    std::unique_ptr<K4STaudio> unit;
};

TEST_F(AudioTest, MakesTheInputsSafeHoweverItEnds) {
    for (const Board board : {Board::aes, Board::plain}) {
        for (const char* place : {silent, searching, gain}) {
            for (const bool cancelled : {false, true}) {
                use(board);
                runTo(place);
                EXPECT_FALSE(inputsAreSafe()) << "nothing to make safe at " << place;
                const Microseconds before = k4sim::machine().now();
                unit->start(false);
                if (cancelled)
                    unit.reset();
                else
                    unit->waitend();
                EXPECT_TRUE(inputsAreSafe()) << place << ' ' << cancelled;
                EXPECT_LE(k4sim::machine().now() - before, stopTime_us) << place;
            }
        }
    }
}

TEST_F(AudioTest, MeasuresTheGainWithoutPhantomPower) {
    runTo(searching);
    card().plug_analog(true);
    EXPECT_TRUE(matches("OK"));
}

// An exception ends the process, and not before the inputs are safe.
TEST_F(AudioTest, MakesTheInputsSafeBeforeAnExceptionEndsTheProcess) {
    const auto die = [this] {
        std::set_terminate([] {
            fprintf(stderr, inputsAreSafe() ? "inputs are safe" : "inputs are not safe");
            abort();
        });
        runTo(searching);
        delayThrows = true;
        unit->waitend();
    };
    EXPECT_DEATH(die(), "inputs are safe");
}

// Streams that are not open fail at each transfer.
TEST_F(AudioTest, NeitherSpinsNorGoesDeafWherePlayingFails) {
    constexpr AudioLoop::Manner manner = {1000, 1000, 50'000, "", nullptr};
    AudioStreams streams;
    KLTprint console;
    AudioLoop loop(streams, 2, manner, console);
    ASSERT_TRUE(loop.hasMemory());
    const Microseconds before = k4sim::machine().now();
    EXPECT_TRUE(loop.run(*unit));
    EXPECT_NEAR(static_cast<double>(k4sim::machine().now() - before), 50'000, 1'000);
    runTo(silent);
    unit->start(false);
    EXPECT_FALSE(loop.run(*unit));
    EXPECT_EQ(loop.takeLevels()[0].swing, 0);
}

} // namespace

extern "C" void __real__Z8KLFdelayx(long long microseconds);

extern "C" void __wrap__Z8KLFdelayx(long long microseconds) {
    if (delayThrows) throw DelayFailed();
    __real__Z8KLFdelayx(microseconds);
}
