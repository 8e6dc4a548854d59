// The panel as its operator meets it: lamp test, status table, keys, knobs, abort.
#include "virtual_run.h"

#include <algorithm>
#include <gtest/gtest.h>

namespace {

using namespace k4test;

RunResult operate(const std::vector<std::string>& actions,
                  const std::vector<std::string>& keywords = {"run"}) {
    RunPlan plan;
    plan.keywords = keywords;
    plan.scenario = one_a_second(actions);
    plan.limit_s = static_cast<int>(actions.size()) + 8;
    return run_on_virtual_k4(plan);
}

// The lines "Key n" of the console, as numbers.
std::vector<int> printed_keys(const RunResult& run) {
    std::vector<int> keys;
    std::istringstream lines(run.console);
    for (std::string line; std::getline(lines, line);)
        if (line.starts_with("Key ") && std::isdigit(static_cast<unsigned char>(line[4])))
            keys.push_back(std::stoi(line.substr(4)));
    return keys;
}

TEST(Frontpanel, ShowsLampTestThenStatusTableThenDark) {
    const RunResult run = operate({"press 5", "press E", "press E"});
    EXPECT_EQ(run.status, aborted_status);
    const auto lit = std::find_if(run.pictures.begin(), run.pictures.end(),
                                  [](const Picture& picture) { return all_of_grey(picture, 15); });
    ASSERT_NE(lit, run.pictures.end()) << "no lamp test";
    const auto table = std::find_if(lit, run.pictures.end(), [](const Picture& picture) {
        return !all_of_grey(picture, 15) && !all_of_grey(picture, 0);
    });
    ASSERT_NE(table, run.pictures.end()) << "no status table";
    const char* const texts[] = {"Bit status: ++++++++", "LAN-ok   WAN-ok",
                                 "012346789*#LRKEACDMhH"};
    for (int row = 0; row < 3; ++row)
        EXPECT_TRUE(row_shows(*table, row, row_labels[row], texts[row]));
    EXPECT_TRUE(row_shows(*table, 5, row_labels[5], "Wait for cable unplugged"));
    EXPECT_TRUE(all_of_grey(run.final_picture, 0)) << as_text(run.final_picture);
    EXPECT_EQ(run.count_events("oled", "protocol-error"), 0);
}

TEST(Frontpanel, WithoutAnyCpldReportsAndSoundsTheAlarm) {
    RunPlan plan;
    plan.board = "none";
    plan.limit_s = 20;
    const RunResult run = run_on_virtual_k4(plan);
    EXPECT_EQ(run.status, limit_status);
    EXPECT_TRUE(run.console_has("Frontpanel init error -49997")) << run.console;
    EXPECT_TRUE(run.console_has("FP init error -49997")) << run.console;
    // A beep of 1 s, then 1 s of silence.
    EXPECT_NEAR(run.count_events("speaker", "tone"), 10, 1);
}

// Nothing but the lamp test until then, however often the texts change.
TEST(Frontpanel, TheLampTestHoldsTheDisplayUntilTheFirstKey) {
    RunPlan plan;
    plan.scenario = "[[step]]\nat = 20\ndo = \"press 5\"\n";
    plan.limit_s = 25;
    const RunResult run = run_on_virtual_k4(plan);
    const auto table =
        std::find_if(run.pictures.begin(), run.pictures.end(), [](const Picture& picture) {
            return !all_of_grey(picture, 0) && !all_of_grey(picture, 15);
        });
    auto pictures_before = table - run.pictures.begin();
    const auto drawn = std::find_if(run.events.begin(), run.events.end(), [&](const auto& event) {
        return event.value("event", "") == "picture" && pictures_before-- == 0;
    });
    ASSERT_NE(drawn, run.events.end());
    EXPECT_GE(drawn->at("t"), 20'000'000);
    EXPECT_LT(drawn->at("t"), 21'600'000);
}

TEST(Frontpanel, ExactlyOnePressOfMOrSevenIsSwallowed) {
    const struct {
        std::vector<std::string> actions;
        std::vector<int> keys;
        const char* text;
    } cases[] = {
        {{"press 7", "press 5"}, {5}, "012346789*#LRKEACDMhH"},
        {{"press 5", "press M", "press M"}, {5, 19}, "012346789*#LRKEACDhH"},
        {{"press 5", "press M", "press 7"}, {5, 7}, "01234689*#LRKEACDMhH"},
    };
    for (const auto& [actions, keys, text] : cases) {
        const RunResult run = operate(actions);
        EXPECT_EQ(printed_keys(run), keys);
        EXPECT_TRUE(row_shows(run.last_lit(), 2, "Frontpanel", text));
    }
}

// Only in a row do two of them abort.
TEST(Frontpanel, EscDigitEscDoesNotAbort) {
    const RunResult run = operate({"press E", "press 5", "press E"});
    EXPECT_EQ(run.verdict(), "UNDECIDED");
    EXPECT_FALSE(run.console_has("Frontpanel signals program abortion!"));
    EXPECT_EQ(printed_keys(run), (std::vector<int>{15, 5, 15}));
}

TEST(Frontpanel, TheReducedKeySetAsksForKnobsAndEscOnly) {
    const std::vector<std::string> keywords = {"run", "nokeypad"};
    const RunResult some = operate({"press A", "press M", "turn 2 1", "press E"}, keywords);
    EXPECT_TRUE(row_shows(some.last_lit(), 2, "Frontpanel", "Missing Ml Mr M H Hl "));
    EXPECT_EQ(printed_keys(some), (std::vector<int>{16, 21, 15}));
}

} // namespace
