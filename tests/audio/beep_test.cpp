// On the speaker of the virtual device.
#include "audio/beep.h"

#include "sim/models/device.h"
#include "support/boards.h"

#include <cstdio>
#include <cstring>
#include <vector>

namespace {

using k4sim::machine;

constexpr k4sim::Microseconds ms_us = 1'000;

class Beep : public BoardTest {
protected:
    Beep() { EXPECT_EQ(beeper.opendev(nullptr), 0); }

    static k4sim::Speaker& speaker() { return machine().device().speaker(); }

    // The tones of body, and the end: when they began, dividers and lengths, times in ms.
    template <class Body>
    static std::string tones(Body body) {
        machine().clear_events();
        const k4sim::Microseconds begin = machine().now();
        body();
        std::string text;
        for (const k4sim::Event& event : machine().events()) {
            if (event.source != "speaker" || event.what != "tone") continue;
            unsigned divider = 0;
            unsigned length_ms = 0;
            std::sscanf(std::strstr(event.line.c_str(), "\"divider\":"),
                        "\"divider\":%u,\"hz\":%*u,\"ms\":%u", &divider, &length_ms);
            text += std::to_string((event.t - begin) / ms_us) + ":" + std::to_string(divider) +
                    "/" + std::to_string(length_ms) + " ";
        }
        return text + std::to_string((machine().now() - begin) / ms_us);
    }

    KLTlinuxBeep beeper;
};

TEST_F(Beep, ADeviceIsSilencedAndClosedBeforeAnother) {
    for (const auto& [path, result] :
         {std::pair{"/dev/null", 0}, {"/dev/absent", -1}, {"", 0}, {"/dev/console", 0}}) {
        EXPECT_EQ(beeper.opendev(nullptr), 0);
        beeper.sound(500);
        EXPECT_EQ(speaker().divider(), 2386U);
        EXPECT_EQ(beeper.opendev(path), result) << path;
        EXPECT_FALSE(speaker().sounding()) << path;
    }
    {
        KLTlinuxBeep another;
        EXPECT_EQ(another.opendev(nullptr), 0);
        another.sound(500);
    }
    EXPECT_FALSE(speaker().sounding());
    EXPECT_EQ(count_events("program", "close"), count_events("program", "open") - 1);
    speaker().set_present(false);
    EXPECT_EQ(beeper.opendev(nullptr), -1);
}

// 1193180 Hz / 500 Hz = 2386; / 1000 Hz = 1193; / 20000 Hz = 59.
TEST_F(Beep, TonesUseTheDividerOfTheTimerClock) {
    EXPECT_EQ(tones([&] {
                  for (const auto& [freq, ms] : {std::pair{0, 100}, {-1, 100}, {500, 0}, {500, -1}})
                      beeper.beep(freq, ms, true);
                  beeper.beep(1000, 1500, true);
                  beeper.beep(500, 100, false);
              }),
              "0:1193/1500 1500:2386/100 1500");
    for (const int freq : {0, -5}) {
        beeper.sound(20'000);
        EXPECT_EQ(speaker().divider(), 59U);
        beeper.sound(freq);
        EXPECT_FALSE(speaker().sounding()) << freq;
    }
}

TEST_F(Beep, MelodyTextGivesNotesRestsAndLengths) {
    for (const auto& [text, played] :
         {std::pair{"c4", "0:4791/250 0"}, // 222 Hz * 2^(2/12) = 249 Hz
          {"C1x0", "0:1196/2000 0"},       // 888 Hz * 2^(2/12) = 997 Hz
          {"a1x2A3X4", "0:5374/2000 0:1423/1000 0:1343/500 0:355/250 0"},
          {"a5a6a7a8a9", "0:5374/125 0:5374/62 0:5374/31 0:5374/15 0:5374/7 0"},
          {"y5Y5z5`5@5-5", "0"},    // beyond the scale: rests
          {"a:a/aab", "0"},         // no length between 1 and 9
          {"a1b", "0:5374/2000 0"}, // an odd end
          {"", "0"},
          {nullptr, "0"}}) {
        beeper.melody("a1");
        beeper.sound(500);
        EXPECT_EQ(tones([&, &notes = text] {
                      beeper.melody(notes);
                      EXPECT_FALSE(speaker().sounding());
                      while (beeper.melodyNext() != 0) {
                      }
                  }),
                  played);
    }
    beeper.melody("c4-3C9");
    for (const int duration_ms : {250, 500, 7, 0, 0})
        EXPECT_EQ(beeper.melodyNext(), duration_ms);
    beeper.melody("c4");
    beeper.sound(500);
    beeper.stop();
    EXPECT_FALSE(speaker().sounding());
    EXPECT_EQ(beeper.melodyNext(), 0);
}

constexpr unsigned long note(unsigned long freq, unsigned long ms) { return ms << 16 | freq; }

TEST_F(Beep, AMelodyIsPlayedToItsEnd) {
    const unsigned long notes[] = {note(440, 300), note(0, 50), note(1000, 20), 0, note(440, 99)};
    const unsigned long unheard[] = {note(440, 0), note(440, 10), 0}; // ends without duration
    EXPECT_EQ(tones([&] { beeper.playall(notes); }), "0:2711/300 350:1193/20 370");
    EXPECT_EQ(tones([&] { beeper.playall(unheard); }), "0");
    EXPECT_EQ(tones([&] { beeper.playall(static_cast<const unsigned long*>(nullptr)); }), "0");
    // A longer one needs more room than the one before.
    std::vector<unsigned long> scale(100, note(500, 1));
    scale.push_back(0);
    beeper.playall(scale.data());
    EXPECT_EQ(count_events("speaker", "tone"), 100);
    beeper.closedev(); // in silence
    EXPECT_EQ(tones([&] { beeper.playall("c4-3"); }), "750");
    EXPECT_EQ(tones([&] { beeper.beep(500, 100, true); }), "0");
}

} // namespace
