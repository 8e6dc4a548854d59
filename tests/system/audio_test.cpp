// The analog audio path as its operator meets it: a device that passes, the levels, and
// what is left switched on afterwards.
#include "virtual_run.h"

#include <algorithm>
#include <gtest/gtest.h>

namespace {

using namespace k4test;

constexpr int audio_row = 4;

int count_of(std::string_view text, std::string_view in) {
    int count = 0;
    for (std::size_t at = in.find(text); at != in.npos; at = in.find(text, at + 1))
        ++count;
    return count;
}

RunResult operated(const std::string& board, const std::vector<std::string>& keywords,
                   const std::vector<std::string>& faults = {}) {
    RunPlan plan;
    plan.board = board;
    plan.keywords = keywords;
    plan.faults = faults;
    plan.automatic_operator = true;
    return run_on_virtual_k4(plan);
}

TEST(Audio, AGoodDevicePassesAndIsLeftSafe) {
    for (const std::string keyword : {"", "nomicboost"}) {
        const RunResult run = operated("aes", {"run", keyword});
        EXPECT_EQ(run.status, 0);
        EXPECT_EQ(run.verdict(), "PASSED");
        for (int row = 0; row < 6; ++row)
            EXPECT_TRUE(row_shows(run.last_lit(), row, row_labels[row], "OK"));
        EXPECT_EQ(run.report.at("left_safe"), true);
    }
}

// In the fifth cycle that is judged.
TEST(Audio, ACrackleLetsTheCountOfSilenceBeginAgain) {
    const RunResult run = operated("plain", {"run"}, {"analog-crackle@9"});
    const std::size_t crackle = run.console.find("Silence: RMS=  -40.");
    ASSERT_NE(crackle, std::string::npos) << run.console;
    EXPECT_EQ(count_of("Silence: ", run.console.substr(0, crackle)), 4);
    EXPECT_EQ(count_of("Silence: ", run.console.substr(crackle)), 1 + 8);
    EXPECT_TRUE(row_shows(run.last_lit(), audio_row, row_labels[audio_row], "OK"));
}

TEST(Audio, ThePictureNamesTheLineMode) {
    const RunResult run = operated("plain", {"run", "nomicboost"}, {"analog-gain=4"});
    EXPECT_TRUE(row_shows(run.last_lit(), audio_row, row_labels[audio_row],
                          "Loop gain (line) 4.0 4.0 (2)"));
}

} // namespace
