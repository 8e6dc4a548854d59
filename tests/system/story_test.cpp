// What people are told of a run: margins, page, comparison.
#include "launcher_stage.h"
#include "support/unfolded_events.h"

#include <cmath>
#include <gmock/gmock.h>

namespace {

using namespace k4test;
using testing::ContainsRegex;
using testing::HasSubstr;
using testing::MatchesRegex;

class StoryOfARun : public LauncherStage {
protected:
    // Returns the closing line.
    std::string run(const std::string& options, const std::string& record = "record") const {
        return launch("run --record " + record + " " + options + " -- " K4_PROGRAM " run").error;
    }

    std::string content(const std::string& name) const { return shell("cat " + name).out; }

    nlohmann::json data(const std::string& page) const {
        const std::string text = content(page), before = "id=\"data\">";
        const std::size_t begin = text.find(before) + before.size();
        return nlohmann::json::parse(text.substr(begin, text.find("</script>", begin) - begin));
    }
};

// The faults say by how much a limit is missed.
TEST_F(StoryOfARun, TellsHowNearTheVerdictWas) {
    const struct {
        const char* options;
        const char* quantity;
        const char* state;
        double distance, tolerance;
        const char* why;
    } cases[] = {
        {"", "gain of input 2 at 1000 Hz", "met", 2, 0.02, "PASSED: 6 of 6 rows OK after "},
        {"--fault analog-gain=-6", "gain of input 1 at 1000 Hz", "missed", -4, 0.02,
         "ABORTED: AnalogAudio stayed at \"Loop gain -6.0 -6.0 (2)\": both inputs 4.0 dB below "
         "the limit, after "},
        {"--fault analog-noise=-60", "noise of input 1", "missed", -18, 1.5, " of noise, after "},
        {"--fault analog-dc=-30", "DC of input 2", "missed", -15, 1.5, " of DC, after "},
        {"--fault link-down=usb0", "readings of both links up in a row", "missed", -20, 0,
         ": no link at WAN, after "},
        {"--fault key-dead=5", "keys and steps of the knobs", "missed", -1, 0,
         R"(ABORTED: Frontpanel stayed at "5", after )"},
        {"--fault aes-rate-dead=48000", "lock at 48000 Hz", "missed", NAN, 0,
         ": the receiver never locked to 48000 Hz, after "},
    };
    for (const auto& [options, quantity, state, distance, tolerance, why] : cases) {
        const std::string line = run(options);
        EXPECT_THAT(line, HasSubstr(why));
        EXPECT_THAT(line, MatchesRegex(".* after [0-9.]+ virtual seconds \\([0-9.]+ s\\); smallest "
                                       "margin -?[0-9.]+ .*; record in record\n"));
        const nlohmann::json margins = report().at("margins");
        const auto margin = std::ranges::find_if(
            margins, [&](const auto& entry) { return entry["quantity"] == quantity; });
        ASSERT_NE(margin, margins.end()) << quantity;
        EXPECT_EQ((*margin)["state"], state) << quantity;
        EXPECT_EQ(margin->contains("distance"), !std::isnan(distance)) << quantity;
        if (!std::isnan(distance)) {
            EXPECT_NEAR((*margin)["distance"], distance, tolerance) << options;
        }
    }
}

TEST_F(StoryOfARun, IsOnAPageThatARecordGivesAgain) {
    run("--fault analog-gain=-6");
    const std::string page = recorded("report.html");
    EXPECT_EQ(page.find("//", page.find("http://www.w3.org/2000/svg") + 8), page.find("// "))
        << "asks for something from elsewhere";
    const nlohmann::json told = data("record/report.html");
    EXPECT_EQ(told["margins"], report()["margins"]);
    EXPECT_EQ(told["why"], report()["why"]);
    const std::string image = told["images"][told["pictures"][1][1].get<std::size_t>()];
    write("image", image.substr(image.find(',') + 1));
    EXPECT_EQ(shell("base64 -d image | cmp - record/oled-0002.png").status, 0);
    shell("rm record/report.html");
    EXPECT_EQ(launch("report record/").out, "record//report.html\n");
    EXPECT_EQ(recorded("report.html"), page);

    shell("cp record/console.txt tty");
    EXPECT_EQ(launch("report tty").out, "tty.html\n");
    const nlohmann::json by_console = data("tty.html");
    EXPECT_EQ(by_console["verdict"], "ABORTED");
    for (std::size_t i = 0; i < told["margins"].size(); ++i)
        if (told["margins"][i]["in"] == "dB") {
            EXPECT_EQ(by_console["margins"][i]["distance"], told["margins"][i]["distance"]);
        }

    shell("rm record/report.json; echo incomplete >record/k4sim-record; mkdir no; echo x >none;"
          "echo x >tty.html");
    EXPECT_EQ(launch("report record").status, 0);
    EXPECT_EQ(data("record/report.html")["verdict"], "UNDECIDED");
    for (const char* wrong : {"no", "none", "tty", "gone", "record record"}) {
        const CommandResult result = launch(std::string("report ") + wrong);
        EXPECT_EQ(result.status, 2) << wrong;
        EXPECT_THAT(result.error, MatchesRegex("k4sim: [^\n]*\n")) << wrong;
    }
    EXPECT_EQ(content("tty.html"), "x\n");
}

TEST_F(StoryOfARun, IsComparedWithAnother) {
    run("", "a");
    run("", "b");
    run("--fault key-dead=5@3", "c");
    run("--seed 2", "e");
    CommandResult result = launch("diff a b");
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.out, "The runs are the same.\n");
    result = launch("diff a c");
    EXPECT_EQ(result.status, 1);
    const auto a = unfolded_events(content("a/events.jsonl"));
    const auto c = unfolded_events(content("c/events.jsonl"));
    const auto [first, other] = std::ranges::mismatch(a, c);
    ASSERT_NE(other, c.end());
    EXPECT_THAT(result.out, HasSubstr("event is number " + std::to_string(first - a.begin() + 1)));
    EXPECT_THAT(result.out, HasSubstr(R"(3 s {"source":"fault","event":"key-dead","value":"5"})"));
    EXPECT_EQ((*other)["source"], "fault");
    for (const char* line : {"\n! verdict +PASSED +ABORTED\n", "\n  ParallelPrt +\"OK\" from",
                             "\n! Frontpanel: keys and steps.* 22 keys .* 21 keys \\(-1\\)\n"})
        EXPECT_THAT(result.out, ContainsRegex(line));
    shell("cp -r b d; sed -i s/PASSED/ABORTED/ d/report.json");
    EXPECT_EQ(launch("diff a d").status, 1); // though the events are the same
    shell("cp b/oled-0002.png b/oled-0005.png");
    result = launch("diff a b");
    EXPECT_EQ(result.status, 1);
    EXPECT_THAT(result.out, ContainsRegex("oled-0005.png.*\n.*oled-0005.png.*\n.*pictures differ"));
    EXPECT_EQ(launch("diff a e").status, 1);
    for (const char* limits : {"1dB,1s", "20%,1dB"})
        EXPECT_EQ(launch(std::string("diff a e --tolerance ") + limits).out,
                  "Nothing differs by more than the tolerance.\n");
    result = launch("diff --tolerance 0.01dB,1s a e");
    EXPECT_EQ(result.status, 1);
    EXPECT_THAT(result.out, ContainsRegex("\n! AnalogAudio: .* dB "));
    EXPECT_THAT(result.out, Not(ContainsRegex("event is number|\n! .* \"OK\"")));
    result = launch("diff --tolerance 100%,0.5dB a c");
    EXPECT_THAT(result.out, ContainsRegex("\n! Frontpanel +\"OK\" .*\n"));
    EXPECT_EQ(launch("diff a .").status, 2);
}

} // namespace
