// Campaigns over a few faults: the same results however they came about.
#include "launcher_stage.h"

#include <gmock/gmock.h>

namespace {

using namespace k4test;
using testing::HasSubstr;

class Campaign : public LauncherStage {
protected:
    static constexpr const char* line = K4_SIM " campaign --boards plain --faults 'link-d*' ";
    static constexpr const char* program = " -- " K4_PROGRAM " run";

    CommandResult campaign(const std::string& options, const std::string& before = "") const {
        return shell(before + line + options + program);
    }
};

TEST_F(Campaign, ComesToTheSameHoweverItIsDone) {
    const CommandResult whole = campaign("--out whole");
    EXPECT_EQ(whole.status, 0) << whole.out << whole.error;
    EXPECT_THAT(whole.out, HasSubstr("4 runs, 2 detected, 2 escaped\n"));
    const std::string sorted = shell("sort whole/results.jsonl").out;

    // Of parts, elsewhere.
    for (const char* const part : {"1", "2"})
        EXPECT_EQ(campaign(std::string("--jobs 1 --out part") + part + " --shard " + part + "/2",
                           "mkdir -p other; env -i TZ=Asia/Tokyo LANG=C TMPDIR=other ")
                      .status,
                  0);
    EXPECT_EQ(shell("sort part*/results.jsonl").out, sorted);

    EXPECT_EQ(launch("coverage --out all part1 part2").out,
              "2 of 4 single faults are detected (50.0 %); all/coverage.html tells more\n");
    EXPECT_EQ(launch("coverage --against all/coverage.json whole").status, 0);
    shell("sed -i '/link-dropped=eth0/s/escaped/detected/; /link-down=usb0/d' all/coverage.json");
    const CommandResult other = launch("coverage --against all/coverage.json whole");
    EXPECT_EQ(other.status, 1);
    EXPECT_EQ(other.out,
              "link-down=usb0 on plain: detected (ABORTED); in all/coverage.json: not there\n"
              "link-dropped=eth0 on plain: escaped (ABORTED); in all/coverage.json: detected "
              "(ABORTED)\n");

    // Broken off, and by a disk that was full before.
    const CommandResult broken = shell(
        "mkdir folders; export TMPDIR=$PWD/folders; " + std::string(line) +
        "--jobs 1 --out broken" + program +
        " & until [ -s broken/results.jsonl ]; do :; done 2>/dev/null; kill -TERM $!; wait $!");
    EXPECT_EQ(broken.status, 130) << broken.error;
    EXPECT_EQ(shell("ls folders").out, "") << "records that nobody needs";
    shell("printf '{\"fault\":\"link-dr' >> broken/results.jsonl");
    EXPECT_EQ(campaign("--out broken").out, whole.out);
    EXPECT_EQ(shell("sort broken/results.jsonl").out, sorted);
    EXPECT_EQ(shell("cut -d, -f1 broken/costs.jsonl | sort").out,
              shell("cut -d, -f1 whole/costs.jsonl | sort").out)
        << "each once";

    shell("cp -r whole mixed; echo {} > mixed/campaign.json");
    EXPECT_THAT(campaign("--out whole --seed 2").error, HasSubstr("choose another folder"));
    EXPECT_THAT(
        shell("flock whole/results.jsonl " + std::string(line) + "--out whole" + program).error,
        HasSubstr("in use by another campaign"));
    EXPECT_THAT(launch("coverage whole mixed").error, HasSubstr("can't be joined"));
    shell("sed -i 2s/.*/nothing/ whole/results.jsonl");
    EXPECT_THAT(campaign("--out whole").error, HasSubstr("line 2 of whole/results.jsonl"));
}

TEST_F(Campaign, TellsWhatIsNotAsExpected) {
    EXPECT_EQ(campaign("--out found --expected detected").out, "2 runs, 2 detected\n");
    const CommandResult deaf =
        launch("campaign --out out --boards plain --faults analog-input-dead"
               " -- " K4_PROGRAM " run noanalog");
    EXPECT_EQ(deaf.status, 1);
    EXPECT_THAT(deaf.out, HasSubstr("1 runs, 1 escaped\nnot as expected: analog-input-dead=1 on "
                                    "plain: escaped, expected was detected\n"));
    const CommandResult nothing =
        launch("campaign --out none --boards aes --faults key-dead -- /bin/true");
    EXPECT_EQ(nothing.status, 2);
    EXPECT_THAT(nothing.error, HasSubstr("came to NOT RUN on board aes"));
}

// What the program leaves out it can't find; the same device is found out by the whole test.
TEST_F(Campaign, SoakTellsOfEachRunThatWentWrong) {
    constexpr const char* const soak = "soak --seeds ";
    const CommandResult deaf =
        launch(std::string(soak) + "1..14 --out deaf -- " K4_PROGRAM " run noanalog");
    EXPECT_EQ(deaf.status, 1) << deaf.out << deaf.error;
    std::istringstream lines(deaf.out);
    std::string said, seed;
    std::getline(lines, said);
    EXPECT_THAT(said, testing::MatchesRegex("14 runs, [1-9] wrong"));
    while (std::getline(lines, said)) {
        EXPECT_THAT(said, testing::MatchesRegex("a fault that has to be detected was not: k4sim "
                                                "run .* --fault (codec|mixer|analog|card).*"));
        seed = said.substr(said.find("--seed ") + 7);
        seed.resize(seed.find(' '));
    }
    const CommandResult whole =
        launch(soak + seed + ".." + seed + " --out whole -- " K4_PROGRAM " run");
    EXPECT_EQ(whole.out, "1 runs, 0 wrong\n") << whole.error;
    EXPECT_EQ(whole.status, 0);
}

} // namespace
