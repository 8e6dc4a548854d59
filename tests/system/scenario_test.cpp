// Scenarios: what is refused, what they may demand of a run, and what comes of it.
#include "golden.h"
#include "launcher_stage.h"

#include <gmock/gmock.h>

namespace {

using namespace k4test;
namespace fs = std::filesystem;

class Scenario : public LauncherStage {};

// The last of the steps of a file of nearly 1 MiB is done, as the first is.
TEST_F(Scenario, IsAsLongAsItsFileMayBe) {
    std::string steps;
    while (steps.size() < (1 << 20) - 40)
        steps += "[[step]]\nat=1\ndo='press 7'\n";
    write("long.toml", steps);
    const CommandResult result =
        shell("{ cat long.toml; } | " K4_SIM " run --expect not-run --scenario - -- /bin/sleep 2");
    EXPECT_EQ(result.status, 0) << result.error.substr(0, 200);
}

TEST_F(Scenario, IsRefusedByTheLine) {
    std::vector<std::string> scenarios{
        "board = \n",
        "\nboard = 'aex'\n",
        "board = 1\n",
        "operator = 'bob'\n",
        "seed = -1\n",
        "seed = 1.5\n",
        "colour = 'red'\n",
        "faults = 'key-dead=5'\n",
        "\nfaults = ['key-ded=5']\n",
        "faults = ['key-dead=5@x']\n",
        "\nstep = 3\n",
        "step = [3]\n",
        "[[step]]\nat = 1\n",
        "[[step]]\ndo = 'press 7'\n",
        "[[step]]\nat = 1\nafter = 1\ndo = 'press 7'\n",
        "[[step]]\nat = 1\ndo = 'press 7'\nhow = 1\n",
        "[[step]]\nat = -1\ndo = 'press 7'\n",
        "[[step]]\nat = '1'\ndo = 'press 7'\n",
        "[[step]]\nwhen = 'beep'\nafter = 2e9\ndo = 'press 7'\n",
        "[[step]]\nwhen = 'screen:'\ndo = 'press 7'\n",
        "[[step]]\nat = 1\ndo = 'fault gremlin'\n",
        "[[step]]\nwhen = 'scren:OK'\ndo = 'press 7'\n",
        "sed = 1\n",
        "arguments = 'run'\n",
        "arguments = [1]\n",
        "limit = 0\n",
        "pace = 'slow'\n",
        "pace = 0\n",
        "expect = 'pased'\n",
        "expect = 1\n",
        "expect = ['passed', 1]\n",
        "[[expect]]\nverdict = 'passed'\nnever = true\n",
        "[[expect]]\nscreen = 'OK'\n",
        "[[expect]]\nscreen = ''\nnever = true\n",
        "[[expect]]\nnever = true\n",
        "[[expect]]\nscreen = 'a'\nconsole = 'a'\nwithin = 1\n",
        "[[expect]]\nscreen = 'OK'\nnever = false\n",
        "[[expect]]\nscreen = 'OK'\nwithin = -1\n",
        "[[expect]]\nscreen = 'OK'\nwithin = 1\nafter = 'Key'\n",
        "[[expect]]\nscreen = 'OK'\nwithin = 1\nwith = {t = 1}\n",
        "[[expect]]\nevent = 'speeker tone'\nnever = true\n",
        "[[expect]]\nevent = 'speaker tune'\nnever = true\n",
        "[[expect]]\nevent = 'operator press'\nwith = {keys = '5'}\nnever = true\n",
        "[[expect]]\nevent = 'operator press'\nwith = {key = []}\nnever = true\n"};
    for (const std::string action :
         {"press", "press Z", "hold 77", "turn 3 1", "turn 1 0", "turn 1 2x", "turn 2 -1001",
          "turn 2 1001", "plug both", "press 7 8", "wave 7", "pres e"})
        scenarios.push_back("[[step]]\nat = 1\ndo = '" + action + "'\n");
    std::string answers;
    for (const std::string& text : scenarios) {
        write("s.toml", text);
        answers += text + "  " + expect_refused(launch("check s.toml"));
    }
    expect_as_written_down("scenario-refusals", answers);
    expect_refused(launch("run --record record --scenario s.toml -- " K4_PROGRAM));
}

// Whatever the schema of a record knows, and with each of its members.
TEST_F(Scenario, MayDemandAnyEvent) {
    std::ifstream file(K4_RECORD_SCHEMA);
    const auto schema = nlohmann::json::parse(file);
    std::string demands;
    for (const auto& kind : schema["$defs"]["event"]["oneOf"]) {
        nlohmann::json members = kind["properties"];
        const std::string source = members["source"]["const"];
        if (source == "record") continue; // stands for others
        std::string with;
        for (const auto& [name, type] : members.items())
            if (name != "t" && name != "source" && name != "event") with += ", " + name + " = 1";
        for (const auto& name : members["event"].value("enum", nlohmann::json::array({"key-dead"})))
            demands += "[[expect]]\nnever = true\nevent = '" + source + " " +
                       name.get<std::string>() + "'\nwith = {" +
                       (with.empty() ? "" : with.substr(2)) + "}\n";
    }
    write("s.toml", demands);
    const CommandResult result = launch("check - <s.toml");
    EXPECT_EQ(result.error, "");
    EXPECT_TRUE(result.out.ends_with("\n0 steps, 67 demands\n"));
}

TEST_F(Scenario, IsAWholeCase) {
    const std::string head = "board = 'plain'\narguments = ['run', 'noanalog']\nlimit = 30\n"
                             "operator = 'none'\n[[step]]\nat = 5\ndo = 'press 5'\n"
                             "[[expect]]\nverdict = 'undecided'\n";
    const struct {
        const char* demand; // from line 10 on
        const char* words;
        const char* failure = ""; // of one that is met: empty
        const char* options = "";
    } cases[] = {
        {"screen = 'USB Ports OK'\nwithin = 9", "screen \"USB Ports OK\" within 9 s"},
        {"screen = 'USB Ports OK'\nwithin = 1", "screen \"USB Ports OK\" within 1 s",
         "not seen by 1 s, but at [78]\\.[0-9]+ s"},
        {"screen = 'USB Ports OK'\nwithin = 0\nafter = 20",
         "screen \"USB Ports OK\" within 0 s after 20 s"}, // still
        {"screen = 'USB Ports In'\nnever = true\nafter = 20",
         "never screen \"USB Ports In\" after 20 s"}, // no longer
        {"screen = 'Frontpanel 012346'\nnever = true\nafter = 'console:Key 5'",
         "never screen \"Frontpanel 012346\" after console \"Key 5\"", "seen at 6\\.[0-9]+ s"},
        {"console = 'Key 5'\nwithin = 0.1\nafter = 'console:Key'",
         "console \"Key 5\" within 0.1 s after console \"Key\""},
        {"console = 'Key 6'\nwithin = 40", "console \"Key 6\" within 40 s",
         "not seen by 30 s, the end of the run"},
        {"console = 'Key 5'\nwithin = 4\nnever = true", "never console \"Key 5\" within 4 s"},
        {"console = 'Key 5'\nwithin = 6\nnever = true", "never console \"Key 5\" within 6 s",
         "seen at 5\\.[0-9]+ s"},
        {"event = 'operator press'\nwith = {key = '[45]'}\nwithin = 5",
         "event \"operator press\" key=[45] within 5 s"},
        {"event = 'speaker tone'\nwith = {hz = 1}\nnever = true",
         "never event \"speaker tone\" hz=1"},
        {"event = 'link up'\nwithin = 9\nafter = 'beep'", "event \"link up\" within 9 s after beep",
         "not seen by [0-9.]+ s"},
        {"event = 'link up'\nnever = true\nafter = 'screen:ready'",
         "never event \"link up\" after screen \"ready\"", "screen \"ready\" was never seen"},
        {"verdict = 'aborted'", "", "", "--expect undecided"}, // which goes before the file
    };
    for (const auto& [demand, words, failure, options] : cases) {
        SCOPED_TRACE(demand);
        const bool met = *failure == '\0';
        std::string text = head;
        if (*options != '\0') text.replace(text.find("'undecided'"), 11, "'passed'");
        write("s.toml", text + "[[expect]]\n" + demand + "\n");
        const CommandResult result = launch("run --record record --scenario s.toml " +
                                            std::string(options) + " -- " + K4_PROGRAM);
        EXPECT_EQ(result.status, met ? 0 : 3);
        EXPECT_THAT(result.error, testing::ContainsRegex(
                                      met ? "^k4sim: UNDECIDED: [^\n]*; record in record\n$"
                                          : "^k4sim: s\\.toml:10: .*: " + std::string(failure) +
                                                "\nk4sim: UNDECIDED: .*; 1 of 1 demands failed; "
                                                "record in record; not as expected\n$"));
        if (*words == '\0') continue;
        EXPECT_EQ(report().at("demands").at(0).at("demand"), words);
        EXPECT_EQ(report().at("demands").at(0).at("met"), met);
        EXPECT_THAT(recorded("report.xml"),
                    testing::ContainsRegex(met ? "name=\"s.toml:10: [^>]*></testcase>"
                                               : "name=\"s.toml:10: [^>]*><failure message"));
    }
    write("s.toml", "seed = 7\n" + head + "[[expect]]\nconsole = 'x'\nwithin = 1\n");
    expect_as_written_down("k4sim-check", launch("check - <s.toml").out);
    // Written in two pieces. Without a verdict the status is the program's own.
    write("s.toml", "[[expect]]\nconsole = 'bc'\nwithin = 1\n");
    const std::string shell = "run --scenario s.toml -- /bin/sh -c ";
    EXPECT_EQ(launch(shell + "'printf ab; printf cd; exit 7'").status, 7);
    EXPECT_EQ(launch(shell + "'printf cb; exit 7'").status, 3);
}

// Each shows what it is there for, and is content with nothing else.
TEST_F(Scenario, WorkedExamplesShowAFailureOfEachUnit) {
    std::string all;
    for (const auto& entry : fs::directory_iterator(K4_SCENARIOS)) {
        if (entry.path().extension() != ".toml") continue;
        std::stringstream text;
        text << std::ifstream(entry.path()).rdbuf();
        all += text.str();
        const std::string run = "run --scenario - -- " K4_PROGRAM " <" + entry.path().string();
        EXPECT_EQ(launch(run).status, 0) << launch(run).error;
        const CommandResult sound =
            shell("sed 's/^do = \"[fc][la].*/do = \"press 7\"/' " + entry.path().string() +
                  " | " K4_SIM " run --scenario - -- " K4_PROGRAM);
        EXPECT_EQ(sound.status, 3) << entry << sound.error;
    }
    for (const std::string label : row_labels)
        EXPECT_THAT(all, testing::HasSubstr("screen = \"" + label)) << label;
}

} // namespace
