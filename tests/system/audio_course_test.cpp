// What strikes in the course of the audio test, and what its row and the console tell of it.
#include "virtual_run.h"

#include <cstdio>
#include <gtest/gtest.h>

namespace {

using namespace k4test;

constexpr int audio_row = 4;
constexpr const char* label = "AnalogAudio";

RunResult operated_with(const std::string& fault) {
    RunPlan plan;
    plan.board = "plain";
    plan.faults = {fault};
    plan.automatic_operator = true;
    return run_on_virtual_k4(plan);
}

int count_of(std::string_view text, std::string_view in) {
    int count = 0;
    for (std::size_t at = in.find(text); at != in.npos; at = in.find(text, at + 1))
        ++count;
    return count;
}

// The row's text for a line of the console, by the limits of -78 dB RMS and -45 dB DC.
std::string margins_of(const std::string& line) {
    double rms[2]{}, swing[2]{}, dc[2]{};
    std::sscanf(line.c_str(), "Silence: RMS=%lf %lf, Swing=%lf %lf, DC=%lf %lf", &rms[0], &rms[1],
                &swing[0], &swing[1], &dc[0], &dc[1]);
    char text[80];
    std::snprintf(text, sizeof text, "Silence/DC %.1f %.1f %.1f %.1f", rms[0] + 78, rms[1] + 78,
                  dc[0] + 45, dc[1] + 45);
    return text;
}

// In the fifth cycle that is judged.
TEST(AudioCourse, ACrackleLetsTheCountOfSilenceBeginAgain) {
    const RunResult run = operated_with("analog-crackle@9");
    const std::size_t crackle = run.console.find("Silence: RMS=  -40.");
    ASSERT_NE(crackle, std::string::npos) << run.console;
    EXPECT_EQ(count_of("Silence: ", run.console.substr(0, crackle)), 4);
    EXPECT_EQ(count_of("Silence: ", run.console.substr(crackle)), 1 + 8);
    const std::string loud = margins_of(run.console.substr(crackle));
    EXPECT_TRUE(row_ever_shows(run, audio_row, label, loud)) << loud;
    EXPECT_TRUE(row_shows(run.last_lit(), audio_row, label, "OK"));
}

// Strikes after the panel has found the CPLD and before the audio test looks for it.
TEST(AudioCourse, TheCpldIsMissed) {
    const RunResult run = operated_with("cpld-id=9@0.0005");
    EXPECT_TRUE(row_shows(run.last_lit(), audio_row, label, "Motherboard CPLD not detected"));
    EXPECT_FALSE(run.console_has("AES/EBU hardware detected: 0"));
    EXPECT_EQ(run.verdict(), "ABORTED");
}

TEST(AudioCourse, TheSweepGoesOnAfterAnUnderrun) {
    const RunResult run = operated_with("playback-underrun=3@35");
    EXPECT_EQ(count_of("!!!!! UNDERRUN - Playout restart !!!!!\r\n", run.console),
              run.count_events("sound", "underrun"));
    EXPECT_GT(run.count_events("sound", "underrun"), 5);
    EXPECT_TRUE(row_shows(run.last_lit(), audio_row, label, "OK"));
}

} // namespace
