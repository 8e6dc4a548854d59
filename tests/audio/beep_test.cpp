// On the speaker of the virtual device.
#include "audio/beep.h"

#include "baselib/time/clock.h"
#include "sim/models/device.h"
#include "support/boards.h"

#include <string>
#include <vector>

namespace {

using k4sim::machine;

class Beep : public BoardTest {
protected:
    Beep() { EXPECT_EQ(beeper.opendev(nullptr), 0); }

    static k4sim::Speaker& speaker() { return machine().device().speaker(); }

    template <class Body>
    static long long duration_ms(Body body) {
        const k4sim::Microseconds begin = machine().now();
        body();
        return (machine().now() - begin) / 1000;
    }

    KLTlinuxBeep beeper;
};

TEST_F(Beep, ADeviceIsSilencedAndClosedBeforeAnother) {
    for (const auto& [path, result] :
         {std::pair{"/dev/absent", -1}, {"", 0}, {"/dev/console", 0}}) {
        EXPECT_EQ(beeper.opendev(nullptr), 0);
        beeper.sound(500);
        EXPECT_EQ(beeper.opendev(path), result) << path;
        EXPECT_FALSE(speaker().sounding()) << path;
    }
    EXPECT_EQ(count_events("program", "close"), count_events("program", "open") - 1);
    speaker().set_present(false);
    EXPECT_EQ(beeper.opendev(nullptr), -1);
    EXPECT_EQ(duration_ms([&] { beeper.beep(500, 100, true); }), 0);
    EXPECT_EQ(duration_ms([&] { beeper.playall("c4-3"); }), 750) << "in silence";
}

// The timer clock is divided: 1193180 Hz / 500 Hz = 2386.
TEST_F(Beep, ToneLastsOrIsEndedByTheKernel) {
    for (const auto& [freq, divider] : {std::pair{500, 2386U}, {0, 0U}, {20'000, 59U}, {-5, 0U}}) {
        beeper.sound(freq);
        EXPECT_EQ(speaker().divider(), divider);
    }
    for (const auto& [freq, ms] : {std::pair{0, 100}, {-1, 100}, {500, 0}, {500, -1}})
        EXPECT_EQ(duration_ms([&, f = freq, m = ms] { beeper.beep(f, m, true); }), 0);
    EXPECT_EQ(count_events("speaker", "tone"), 0);
    EXPECT_EQ(duration_ms([&] { beeper.beep(1000, 1500, true); }), 1500);
    EXPECT_EQ(duration_ms([&] { beeper.beep(500, 100, false); }), 0);
    EXPECT_EQ(speaker().divider(), 2386U);
}

TEST_F(Beep, AMelodyHasNotesRestsAndLengths) {
    for (const auto& [text, played] :
         {std::pair{"a1x2A3X4", "2000:5374 1000:1423 500:1343 250:355 "},
          {"c9-8C7", "7:4791 15:0 31:1196 "}, // 249 Hz, a rest, 997 Hz
          {"y5Y5`5@5", "125:0 125:0 125:0 125:0 "},
          {"a:a/aab", ""}, // no length between 1 and 9, and an odd end
          {nullptr, ""}}) {
        beeper.melody("a1");
        beeper.melody(text);
        std::string heard;
        while (const int ms = beeper.melodyNext()) {
            heard += std::to_string(ms) + ":" + std::to_string(speaker().divider()) + " ";
            KLFdelay(ms * 1000LL);
        }
        EXPECT_EQ(heard, played);
    }
}

TEST_F(Beep, AMelodyIsPlayedToItsEnd) {
    std::vector<unsigned long> notes(100, 10UL << 16 | 500);
    notes.insert(notes.end(), {50UL << 16, 0, 440});
    EXPECT_EQ(duration_ms([&] { beeper.playall(notes.data()); }), 1050);
    notes[2] = 440; // without duration, which ends it unheard
    EXPECT_EQ(duration_ms([&] { beeper.playall(notes.data()); }), 20);
    EXPECT_EQ(count_events("speaker", "tone"), 102);
}

} // namespace
