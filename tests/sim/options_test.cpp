// The command line and scenario files.
#include "sim/launcher/options.h"

#include "scratch_folder.h"

#include <fstream>

namespace {

using namespace k4sim;

Options parse(std::vector<std::string> words) {
    words.insert(words.begin(), "run");
    return parse_options(words);
}

std::string error_of(const std::vector<std::string>& words) {
    try {
        parse(words);
    } catch (const UsageError& error) {
        return error.what();
    }
    return {};
}

class ScenarioFile : public ScratchFolderTest {
protected:
    std::string write(const std::string& text) {
        const std::string path = folder / "s.toml";
        std::ofstream(path) << text;
        return path;
    }
};

TEST(Options, BothFormsAndTheProgramsOwnOptions) {
    const Options options =
        parse({"--board=i2c", "--operator", "none", "--seed=18446744073709551615", "--pace", "0.5",
               "--limit", "1.5", "--record=r", "--fault", "key-held=7", "--fault=key-dead=8@2.5",
               "--", "--board", "x"});
    EXPECT_EQ(options.setup.board, Board::i2c);
    EXPECT_EQ(options.setup.operator_kind, OperatorKind::none);
    EXPECT_EQ(options.setup.seed, UINT64_MAX);
    EXPECT_EQ(options.setup.pace, 0.5);
    EXPECT_EQ(options.setup.limit_us, 1'500'000);
    EXPECT_EQ(options.record, "r");
    ASSERT_EQ(options.setup.faults.size(), 2U);
    EXPECT_EQ(options.setup.faults[1].name, "key-dead");
    EXPECT_EQ(options.setup.faults[1].value, "8");
    EXPECT_EQ(options.setup.faults[1].at_us, 2'500'000);
    EXPECT_EQ(options.program, (std::vector<std::string>{"--board", "x"}));
}

TEST(Options, HelpIsGivenWhereverItIsAskedFor) {
    EXPECT_EQ(parse({"--board", "aes", "--help", "p"}).command, Command::help);
    EXPECT_EQ(parse_options({"--help"}).command, Command::help);
    // Behind the program's name it is the program's.
    EXPECT_EQ(parse({"p", "--help"}).command, Command::run);
}

TEST(Options, WhatCannotBeCarriedOutIsOneLine) {
    const struct {
        std::vector<std::string> words;
        const char* says;
    } cases[] = {
        {{}, "PROGRAM"},
        {{"--"}, "PROGRAM"},
        {{"--board=", "p"}, "i2c"},
        {{"--seed=-1", "p"}, "-1"},
        {{"--seed=18446744073709551616", "p"}, "18446744073709551616"},
        {{"--pace=nan", "p"}, "nan"},
        {{"--limit=0", "p"}, "limit"},
        {{"--limit=inf", "p"}, "inf"},
        {{"--record=", "p"}, "--record"},
        {{"--scenario=", "p"}, "--scenario"},
        {{"--fault=key-held=7@soon", "p"}, "soon"},
        {{"--board=none", "--fault=key-held=7", "p"}, "none"},
    };
    for (const auto& test : cases) {
        const std::string error = error_of(test.words);
        EXPECT_NE(error.find(test.says), std::string::npos) << test.says << ": " << error;
        EXPECT_EQ(error.find('\n'), std::string::npos) << error;
    }
}

TEST_F(ScenarioFile, FaultsMustSuitTheBoardOfTheCommandLine) {
    const std::string path =
        write("board = \"i2c\"\n[[step]]\nat = 1\ndo = \"fault sda-stuck=0\"\n");
    EXPECT_EQ(error_of({"--scenario", path, "p"}), "");
    const std::string error = error_of({"--board", "aes", "--scenario", path, "p"});
    EXPECT_TRUE(error.starts_with(path + ":4: ")) << error;
}

TEST_F(ScenarioFile, StepsAndSettings) {
    const std::string path =
        write("board = \"plain\"\noperator = \"none\"\nseed = 9\n"
              "[[step]]\nat = 2\ndo = \"press 7\"\n"
              "[[step]]\nwhen = \"console:Key 7\"\nafter = 0.25\ndo = \"turn 1 -3\"\n"
              "[[step]]\nwhen = \"screen:OK\"\ndo = \"fault key-dead=E\"\n"
              "[[step]]\nwhen = \"beep\"\ndo = \"hold *\"\n");
    const k4sim::Setup setup = parse({"--scenario", path, "p"}).setup;
    EXPECT_EQ(setup.board, Board::plain);
    EXPECT_EQ(setup.operator_kind, OperatorKind::none);
    EXPECT_EQ(setup.seed, 9U);
    ASSERT_EQ(setup.steps.size(), 4U);
    EXPECT_EQ(setup.steps[0].at_us, 2'000'000);
    EXPECT_EQ(setup.steps[1].trigger, ScenarioStep::Trigger::console);
    EXPECT_EQ(setup.steps[1].text, "Key 7");
    EXPECT_EQ(setup.steps[1].at_us, 250'000);
    EXPECT_EQ(setup.steps[2].trigger, ScenarioStep::Trigger::screen);
    EXPECT_EQ(setup.steps[3].trigger, ScenarioStep::Trigger::beep);

    // The command line goes before the file, wherever it stands.
    const k4sim::Setup other =
        parse({"--board", "aes", "--scenario", path, "--seed", "3", "p"}).setup;
    EXPECT_EQ(other.board, Board::aes);
    EXPECT_EQ(other.seed, 3U);
}

// A whole run goes to the program as one variable of its environment, which has an end.
TEST_F(ScenarioFile, TooManyStepsAreRefusedBeforeTheRun) {
    std::string steps;
    for (int i = 0; i < 10'000; ++i)
        steps += "[[step]]\nat = 3\ndo = \"press 7\"\n";
    const std::string error = error_of({"--scenario", write(steps), "p"});
    EXPECT_NE(error.find("fewer steps"), std::string::npos) << error;
}

TEST_F(ScenarioFile, ErrorsNameFileAndLine) {
    const struct {
        const char* text;
        int line;
        const char* says;
    } cases[] = {
        {"board = \n", 1, ""},
        {"colour = \"red\"\n", 1, "colour"},
        {"\nstep = 3\n", 2, "[[step]]"},
        {"[[step]]\nat = 1\n", 1, "do"},
        {"[[step]]\ndo = \"press 7\"\n", 1, "at or when"},
        {"[[step]]\nat = 1\nwhen = \"beep\"\ndo = \"press 7\"\n", 1, "at or when"},
        {"[[step]]\nat = -1\ndo = \"press 7\"\n", 2, "at"},
        {"[[step]]\nat = 1\ndo = \"press Z\"\n", 3, "press Z"},
        {"[[step]]\nat = 1\ndo = \"fault gremlin\"\n", 3, "gremlin"},
        {"[[step]]\nat = 1\nafter = 1\ndo = \"press 7\"\n", 3, "after"},
        {"[[step]]\nwhen = \"smell\"\ndo = \"press 7\"\n", 2, "when"},
        {"[[step]]\nat = 1\ndo = \"press 7\"\nhow = 1\n", 4, "how"},
    };
    for (const auto& test : cases) {
        const std::string path = write(test.text);
        const std::string error = error_of({"--scenario", path, "p"});
        EXPECT_TRUE(error.starts_with(path + ":" + std::to_string(test.line) + ": "))
            << test.text << error;
        EXPECT_NE(error.find(test.says), std::string::npos) << error;
        EXPECT_EQ(error.find('\n'), std::string::npos) << error;
    }
}

} // namespace
