// What a run is set up with, by command line and scenario file, and on its way to the program.
#include "sim/setup.h"

#include "support/scratch_folder.h"

#include "sim/launcher/options.h"

#include <fstream>
#include <gtest/gtest.h>

namespace {

using namespace k4sim;

TEST(Options, SetUpTheRun) {
    const ScratchFolder folder;
    const std::string file = folder.file("s.toml");
    std::ofstream(file) << R"(board = "plain"
        operator = "none"
        seed = 9
        arguments = ["a", "b c"]
        limit = 2.5
        pace = 3
        expect = ["passed", "not-run,died"]
        step = [{at = 2, do = "press  7"},
                {when = "console:Key 7", after = 0.25, do = "turn 1 -1000"},
                {when = "screen:OK", do = "fault key-dead=E"},
                {when = "beep", after = 1, do = "unplug digital"}])";
    const std::string steps = "step 0 2000000 - press%20%207\n"
                              "step 1 250000 Key%207 turn%201%20-1000\n"
                              "step 2 0 OK fault%20key-dead=E\n"
                              "step 3 1000000 - unplug%20digital\n";
    using Verdicts = std::vector<Verdict>;
    const struct {
        std::vector<std::string> words;
        std::string setup;
        Verdicts expected{};
    } cases[] = {
        {{}, "board aes\noperator auto\nseed 1\nlimit 3600000000\nstall 20000000\nreport -1\n"},
        {{"--board=i2c", "--operator", "none", "--seed=18446744073709551615", "--schedule=random",
          "--pace", "0.5", "--limit", "1.5", "--stall=3", "--fault", "no-privilege",
          "--fault=key-dead=8@2.5"},
         "board i2c\noperator none\nseed 18446744073709551615\nschedule random\npace 0.5\nlimit "
         "1500000\n"
         "stall 3000000\nreport -1\nfault no-privilege - 0\nfault key-dead 8 2500000\n"},
        {{"--real=serial,speaker", "--real", "network=a,b c", "--real=sound=hw:CARD=x,DEV=1",
          "--real=serial=d%"},
         "board aes\noperator auto\nseed 1\npace 1\nlimit 3600000000\nstall 20000000\nreport -1\n"
         "real speaker\nreal network a b%20c\nreal sound hw:CARD=x,DEV=1\nreal serial d%25\n"},
        {{"--scenario", file, "--pace=max", "--limit=1e9"},
         "board plain\noperator none\nseed 9\nlimit 1000000000000000\nstall 20000000\nreport -1\n" +
             steps,
         {Verdict::passed, Verdict::not_run, Verdict::died}},
        // The command line goes before the file, wherever it stands.
        {{"--board", "aes", "--operator=auto", "--scenario", file, "--seed", "3",
          "--expect=Aborted"},
         "board aes\noperator auto\nseed 3\npace 3\nlimit 2500000\nstall 20000000\nreport -1\n" +
             steps,
         {Verdict::aborted}},
    };
    for (const auto& [words, setup, expected] : cases) {
        std::vector<std::string> line = {"run", "--record=r"};
        line.insert(line.end(), words.begin(), words.end());
        line.insert(line.end(), {"--", "--board", "x"});
        const Options options = parse_options(line);
        EXPECT_EQ(encode(options.setup), setup);
        EXPECT_EQ(options.record, "r");
        EXPECT_EQ(options.program, (std::vector<std::string>{"--board", "x"}));
        EXPECT_EQ(options.expected, expected);
    }
    const Options options = parse_options({"run", "--scenario", file, "x"});
    EXPECT_EQ(options.program, (std::vector<std::string>{"x", "a", "b c"}));
}

TEST(Setup, SurvivesTheWayToTheProgram) {
    std::string every; // byte that a text can have
    for (int byte = 0; byte < 256; ++byte)
        every += static_cast<char>(byte);
    for (const std::string board : {"aes", "plain", "i2c", "engine", "none"}) {
        const std::string text =
            "board " + board + "\noperator none\nseed 9223372036854775809\n" +
            "pace 0.3333333333333333\nlimit 9000000000\nlinger 1\nstall 20000000\nreport 17\n" +
            "fault - %2d 0\nfault key-held 7 5000000000\n" + "step 0 1 - a\nstep 3 2 %20-%25 b\n" +
            "real serial - x\nreal ports\n";
        k4sim::Setup setup = decode(text).value();
        EXPECT_EQ(encode(setup), text);
        setup.faults[0].name = every;
        EXPECT_EQ(encode(setup).find('\0'), std::string::npos);
        EXPECT_EQ(decode(encode(setup)).value().faults[0].name, every);
    }
}

TEST(Setup, MalformedTextIsRefused) {
    for (const char* text : {"real\n",          "real disk\n",     "real serial %2\n",
                             "board",           "board aes",       "board aex\n",
                             "board aes aes\n", "seed -1\n",       "seed 1x\n",
                             "pace 0\n",        "pace nan\n",      "limit\n",
                             "fault a b\n",     "fault a b -1\n",  "limit -1\n",
                             "limit 1 \n",      "step 0 -1 a b\n", "fault a %4 0\n",
                             "fault a %zz 0\n", "fault %4z b 0\n", "step 0 0 %z4 b\n",
                             "step 4 0 a b\n",  "step -1 0 a b\n", "step 0 0 a\n",
                             "operator bob\n",  "colour red\n",    "\n"})
        EXPECT_FALSE(decode(text)) << text;
    EXPECT_TRUE(decode(""));
}

} // namespace
