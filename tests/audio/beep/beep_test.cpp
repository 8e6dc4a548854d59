#include "audio/beep.h"

#include "console_log.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using Log = std::vector<std::string>;

class Beep : public testing::Test {
protected:
    Beep() {
        EXPECT_EQ(beeper.opendev(nullptr), 0);
        takeConsoleLog();
    }
    ~Beep() override {
        beeper.closedev();
        takeConsoleLog();
    }

    KLTlinuxBeep beeper;
};

TEST(BeepDevice, OpensAndClosesTheConsole) {
    {
        KLTlinuxBeep beeper;
        EXPECT_EQ(beeper.opendev(nullptr), 0);
        EXPECT_EQ(takeConsoleLog(), Log{"open /dev/console"});
        EXPECT_EQ(beeper.opendev("/dev/tty1"), 0);
        EXPECT_EQ(takeConsoleLog(), (Log{"sound 0", "close", "open /dev/tty1"}));
        EXPECT_EQ(beeper.opendev("/dev/absent"), -1);
        EXPECT_EQ(takeConsoleLog(), (Log{"sound 0", "close", "open /dev/absent"}));
        EXPECT_EQ(beeper.opendev(""), 0);
        EXPECT_EQ(takeConsoleLog(), Log{});
        EXPECT_EQ(beeper.opendev("/dev/tty1"), 0);
        takeConsoleLog();
    }
    EXPECT_EQ(takeConsoleLog(), (Log{"sound 0", "close"}));
}

TEST_F(Beep, TonesUseTheDividerOfTheTimerClock) {
    // 1193180 Hz / 500 Hz = 2386; / 1000 Hz = 1193; / 20000 Hz = 59.
    beeper.beep(500, 100, false);
    EXPECT_EQ(takeConsoleLog(), Log{"tone 2386 100"});
    beeper.beep(1000, 1500, true);
    EXPECT_EQ(takeConsoleLog(), (Log{"tone 1193 1500", "sleep 1500000"}));
    beeper.sound(20'000);
    beeper.sound(0);
    beeper.sound(-5);
    beeper.stop();
    EXPECT_EQ(takeConsoleLog(), (Log{"sound 59", "sound 0", "sound 0", "sound 0"}));
    for (const auto& [freq, ms] : {std::pair{0, 100}, {-1, 100}, {500, 0}, {500, -1}})
        beeper.beep(freq, ms, true);
    EXPECT_EQ(takeConsoleLog(), Log{});
}

TEST_F(Beep, MelodyTextGivesNotesRestsAndLengths) {
    const struct {
        const char* text;
        Log tones;
    } cases[] = {
        {"c4", {"tone 4791 250"}},    // 222 Hz * 2^(2/12) = 249 Hz
        {"C1x0", {"tone 1196 2000"}}, // 888 Hz * 2^(2/12) = 997 Hz
        {"a1x2A3X4", {"tone 5374 2000", "tone 1423 1000", "tone 1343 500", "tone 355 250"}},
        {"a5a6a7a8a9",
         {"tone 5374 125", "tone 5374 62", "tone 5374 31", "tone 5374 15", "tone 5374 7"}},
        {"y5Y5z5-5", {}},            // beyond the scale: rests
        {"a:a/aab", {}},             // no length between 1 and 9
        {"a1b", {"tone 5374 2000"}}, // an odd end
        {"b", {}},
    };
    for (const auto& c : cases) {
        beeper.melody(c.text);
        EXPECT_EQ(takeConsoleLog(), Log{"sound 0"}) << c.text;
        while (beeper.melodyNext() != 0) {
        }
        EXPECT_EQ(takeConsoleLog(), c.tones) << c.text;
    }
}

TEST_F(Beep, CallerPacesAMelodyByTheReturnedDurations) {
    beeper.melody("c4-3C9");
    EXPECT_EQ(beeper.melodyNext(), 250);
    EXPECT_EQ(beeper.melodyNext(), 500);
    EXPECT_EQ(beeper.melodyNext(), 7);
    EXPECT_EQ(beeper.melodyNext(), 0);
    EXPECT_EQ(beeper.melodyNext(), 0);
    beeper.melody("c4");
    beeper.stop();
    EXPECT_EQ(beeper.melodyNext(), 0);
    for (const char* const none : {static_cast<const char*>(nullptr), ""}) {
        beeper.melody("c4");
        beeper.melody(none);
        EXPECT_EQ(beeper.melodyNext(), 0);
    }
}

constexpr unsigned long note(unsigned long freq, unsigned long ms) { return ms << 16 | freq; }

TEST_F(Beep, NumberMelodyIsPlayedToItsEnd) {
    const unsigned long notes[] = {note(440, 300), note(0, 50), note(1000, 20), 0, note(440, 99)};
    beeper.playall(notes);
    EXPECT_EQ(takeConsoleLog(), (Log{"sound 0", "tone 2711 300", "sleep 300000", "sleep 50000",
                                     "tone 1193 20", "sleep 20000"}));
    // A longer one needs more room than the one before.
    std::vector<unsigned long> scale(100, note(500, 1));
    scale.push_back(0);
    beeper.playall(scale.data());
    EXPECT_EQ(takeConsoleLog().size(), 201u);
    const unsigned long unheard[] = {note(440, 0), note(440, 10), 0}; // ends without duration
    beeper.playall(unheard);
    beeper.playall(static_cast<const unsigned long*>(nullptr));
    EXPECT_EQ(takeConsoleLog(), (Log{"sound 0", "sound 0"}));
}

TEST_F(Beep, ClosedDeviceTakesTheTimeInSilence) {
    beeper.closedev();
    takeConsoleLog();
    beeper.playall("c4-3");
    EXPECT_EQ(takeConsoleLog(), (Log{"sleep 250000", "sleep 500000"}));
    beeper.beep(500, 100, true);
    beeper.sound(500);
    EXPECT_EQ(takeConsoleLog(), Log{});
}

} // namespace
