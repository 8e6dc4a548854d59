// The panel as its operator meets it: lamp test, status table, keys, knobs, abort.
#include "virtual_run.h"

#include <algorithm>
#include <gtest/gtest.h>

namespace {

using namespace k4test;

constexpr int aborted_status = 250; // -6 as the shell sees it
constexpr int limit_status = 124;

// One action a second, from the third second on: the panel is up and lit by then.
std::string one_a_second(const std::vector<std::string>& actions) {
    std::string scenario;
    int second = 3;
    for (const std::string& action : actions)
        scenario += "[[step]]\nat = " + std::to_string(second++) + "\ndo = \"" + action + "\"\n";
    return scenario;
}

RunResult operate(const std::vector<std::string>& actions,
                  const std::vector<std::string>& keywords = {"run"},
                  const std::string& board = "aes") {
    RunPlan plan;
    plan.board = board;
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

class EveryBoard : public testing::TestWithParam<std::string> {};

TEST_P(EveryBoard, ShowsLampTestThenStatusTableThenDark) {
    const RunResult run = operate({"press 5", "press E", "press E"}, {"run"}, GetParam());
    EXPECT_EQ(run.status, aborted_status);
    // The parallel port is looked for where the board engine has nothing.
    const std::string parallel_text =
        GetParam() == "engine" ? "CPLDerr: ID=255 VER=255" : "Bit status: ++++++++";
    const std::string aes_text = GetParam() == "aes" ? "Wait for cable unplugged" : "";

    const auto lit = std::find_if(run.pictures.begin(), run.pictures.end(),
                                  [](const Picture& picture) { return all_of_grey(picture, 15); });
    ASSERT_NE(lit, run.pictures.end()) << "no lamp test";
    const auto table = std::find_if(lit, run.pictures.end(), [](const Picture& picture) {
        return !all_of_grey(picture, 15) && !all_of_grey(picture, 0);
    });
    ASSERT_NE(table, run.pictures.end()) << "no status table";
    EXPECT_TRUE(row_shows(*table, 0, "ParallelPrt", parallel_text));
    EXPECT_TRUE(row_shows(*table, 1, "Ethernet", "LAN-ok   WAN-ok"));
    EXPECT_TRUE(row_shows(*table, 2, "Frontpanel", "012346789*#LRKEACDMhH"));
    EXPECT_TRUE(row_shows(*table, 5, "AES/EBU", aes_text));
    EXPECT_TRUE(all_of_grey(run.final_picture, 0)) << as_text(run.final_picture);
    EXPECT_EQ(run.count_events("oled", "protocol-error"), 0);
}

INSTANTIATE_TEST_SUITE_P(Frontpanel, EveryBoard, testing::Values("aes", "plain", "i2c", "engine"),
                         [](const auto& case_info) { return case_info.param; });

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

TEST(Frontpanel, WithoutSpeakerNamesTheBeeper) {
    RunPlan plan;
    plan.faults = {"speaker-absent"};
    plan.limit_s = 10;
    const RunResult run = run_on_virtual_k4(plan);
    EXPECT_TRUE(run.console_has("FP init error 0")) << run.console;
    EXPECT_EQ(run.count_events("speaker", "tone"), 0);
}

TEST(Frontpanel, TheLampTestHoldsTheDisplayUntilTheFirstKey) {
    RunPlan plan;
    plan.scenario = "[[step]]\nat = 20\ndo = \"press 5\"\n";
    plan.limit_s = 25;
    const RunResult run = run_on_virtual_k4(plan);
    // Nothing but the lamp test until then, however often the texts change.
    double table_at = 0;
    int tables = 0;
    for (const auto& event : run.events) {
        if (event.value("event", "") != "picture") continue;
        const Picture& picture = run.pictures[static_cast<std::size_t>(tables++)];
        if (!all_of_grey(picture, 0) && !all_of_grey(picture, 15)) {
            table_at = event.at("t").get<double>() / 1e6;
            break;
        }
    }
    EXPECT_GE(table_at, 20.0);
    EXPECT_LT(table_at, 21.6);
}

TEST(Frontpanel, EveryKeyAndKnobOnceReadsOk) {
    std::vector<std::string> actions;
    // The first press of 7 is taken for the start key.
    for (const char key : std::string("7123456789*#0KACDM"))
        actions.push_back({'p', 'r', 'e', 's', 's', ' ', key});
    actions.insert(actions.end(), {"turn 1 1", "turn 1 -1", "turn 2 1", "turn 2 -1", "press E",
                                   "press 5", "press E", "press E"});
    const RunResult run = operate(actions);
    EXPECT_EQ(run.status, aborted_status);
    EXPECT_TRUE(row_shows(run.last_lit(), 2, "Frontpanel", "OK"));
    // Codes in the order of operation; encoder steps print like keys.
    EXPECT_EQ(printed_keys(run),
              (std::vector<int>{1,  2,  3,  4,  5,  6,  7,  8,  9,  10, 11, 0, 14,
                                16, 17, 18, 19, 13, 12, 21, 20, 15, 5,  15, 15}));
    // Each accepted press beeps once at 500 Hz for 100 ms.
    EXPECT_EQ(run.count_events("speaker", "tone"), static_cast<int>(printed_keys(run).size()));
}

struct SwallowCase {
    std::string name;
    std::vector<std::string> actions;
    std::vector<int> keys;
    std::string text;
};

class Swallowed : public testing::TestWithParam<SwallowCase> {};

TEST_P(Swallowed, ExactlyOnePressOfMOrSeven) {
    const RunResult run = operate(GetParam().actions);
    EXPECT_EQ(printed_keys(run), GetParam().keys);
    EXPECT_TRUE(row_shows(run.last_lit(), 2, "Frontpanel", GetParam().text));
}

INSTANTIATE_TEST_SUITE_P(
    Frontpanel, Swallowed,
    testing::Values(
        SwallowCase{"first_press", {"press 7", "press 5"}, {5}, "012346789*#LRKEACDMhH"},
        SwallowCase{
            "later_press", {"press 5", "press M", "press M"}, {5, 19}, "012346789*#LRKEACDhH"},
        SwallowCase{
            "either_once", {"press 5", "press M", "press 7"}, {5, 7}, "01234689*#LRKEACDMhH"}),
    [](const auto& case_info) { return case_info.param.name; });

TEST(Frontpanel, EscTwiceInARowAborts) {
    const RunResult run = operate({"press E", "press E"});
    EXPECT_EQ(run.status, aborted_status);
    EXPECT_EQ(run.verdict(), "ABORTED");
    EXPECT_TRUE(run.console_has("Frontpanel signals program abortion!"));
}

TEST(Frontpanel, EscDigitEscDoesNotAbort) {
    const RunResult run = operate({"press E", "press 5", "press E"});
    EXPECT_EQ(run.status, limit_status);
    EXPECT_EQ(run.verdict(), "UNDECIDED");
    EXPECT_FALSE(run.console_has("Frontpanel signals program abortion!"));
    EXPECT_EQ(printed_keys(run), (std::vector<int>{15, 5, 15}));
}

TEST(Frontpanel, TheReducedKeySetAsksForKnobsAndEscOnly) {
    const std::vector<std::string> keywords = {"run", "nokeypad"};
    const RunResult first = operate({"press A"}, keywords);
    EXPECT_TRUE(row_shows(first.last_lit(), 2, "Frontpanel", "Missing Ml Mr M Esc H Hl Hr "));
    EXPECT_EQ(printed_keys(first), (std::vector<int>{16}));

    const RunResult some = operate({"press K", "turn 2 1", "press E"}, keywords);
    EXPECT_TRUE(row_shows(some.last_lit(), 2, "Frontpanel", "Missing Ml Mr H Hl "));

    const RunResult all = operate({"press M", "press K", "turn 1 1", "turn 1 -1", "turn 2 1",
                                   "turn 2 -1", "press M", "press E"},
                                  keywords);
    EXPECT_TRUE(row_shows(all.last_lit(), 2, "Frontpanel", "OK"));
}

TEST(Frontpanel, AReleaseNeitherBeepsNorCounts) {
    const RunResult run = operate({"hold 5", "press 6", "release 5"});
    EXPECT_EQ(printed_keys(run), (std::vector<int>{5, 6}));
    EXPECT_EQ(run.count_events("speaker", "tone"), 2);
}

TEST(Frontpanel, TheAutomaticOperatorPressesEverythingThenEscTwice) {
    RunPlan plan;
    plan.board = "plain"; // a board that can't pass
    plan.automatic_operator = true;
    const RunResult run = run_on_virtual_k4(plan);
    EXPECT_EQ(run.status, aborted_status);
    EXPECT_EQ(run.verdict(), "ABORTED");
    EXPECT_TRUE(row_shows(run.last_lit(), 2, "Frontpanel", "OK"));
    EXPECT_TRUE(run.console.ends_with("Selftest exits with code -6\n")) << run.console;
    EXPECT_LT(run.seconds(), 120.0); // as soon as all that can pass has passed
}

} // namespace
