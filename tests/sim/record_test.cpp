// What k4sim makes of the lines that libk4sim.so reports: files, rows, verdict.
#include "sim/launcher/record.h"

#include "status_picture.h"
#include "support/scratch_folder.h"
#include "support/unfolded_events.h"

#include "sim/launcher/options.h"
#include "sim/launcher/repeats.h"
#include "sim/launcher/verdict.h"
#include "sim/machine/report.h"
#include "sim/story/events.h"

#include <fstream>
#include <gmock/gmock.h>
#include <nlohmann/json.hpp>
#include <random>
#include <sstream>
#include <utility>

namespace {

using namespace k4sim;
using namespace std::literals;
using testing::HasSubstr;
namespace fs = std::filesystem;
using Rows = std::vector<std::pair<std::string, std::string>>;

class RecordTest : public testing::Test {
protected:
    std::string read(const std::string& name) const {
        std::ostringstream text;
        text << std::ifstream(folder_.file(name), std::ios::binary).rdbuf();
        return text.str();
    }

    static std::string picture_line(Microseconds t, const Rows& rows) {
        std::string pixels;
        for (const std::uint8_t grey : StatusPicture(rows).picture())
            pixels += "0123456789abcdef"[grey];
        return report_line(t, "oled", "picture", {{"pixels", std::string_view(pixels)}});
    }

    const ScratchFolder folder_;
};

TEST_F(RecordTest, ReplacesAnEarlierOneAndNothingElse) {
    const std::string own[] = {"events.jsonl", "console.txt", "report.json",
                               "report.xml",   "oled-00.png", "oled-final.png.part"};
    const std::string foreign[] = {"notes.txt", "oled-logo.png", "my-oled-1.png", "oled-.png"};
    const auto write = [&](const auto& names) {
        for (const std::string& name : names)
            std::ofstream(folder_.file(name)) << "old";
    };
    const auto count = [&](const auto& names) {
        return std::ranges::count_if(names, [&](auto& name) { return read(name) == "old"; });
    };
    write(own);
    EXPECT_THROW(Record(folder_.path()), UsageError); // whoever's they are
    EXPECT_EQ(count(own), 6);
    for (const std::string& name : own)
        fs::remove(folder_.file(name));
    Record(folder_.path()).line(report_line(7, "a", "b", {}));
    EXPECT_EQ(read("events.jsonl"), "{\"t\":7,\"source\":\"a\",\"event\":\"b\"}\n");
    write(own);
    write(foreign);
    Record record(folder_.path());
    EXPECT_EQ(count(own), 0);
    EXPECT_EQ(count(foreign), 4);
    record.write_file("report.json", "old");
    EXPECT_THAT([&] { Record(folder_.path()); },
                testing::ThrowsMessage<UsageError>(HasSubstr("is in use by another run")));
    EXPECT_EQ(count(own), 1) << "left to the other run";
    record.finish();
    EXPECT_EQ(read("k4sim-record"), "incomplete\n");
    const std::string events[] = {R"({"t":9,"source":"program","event":"end"})", // came first
                                  R"({"t":9,"source":"a","event":"b"})",
                                  R"({"t":8,"source":"a","event":"c"})"};
    for (const std::string& event : events)
        record.line(event);
    record.tidy_events();
    EXPECT_EQ(read("events.jsonl"), events[2] + "\n" + events[0] + "\n" + events[1] + "\n");
    record.finish();
    EXPECT_EQ(read("k4sim-record"), "complete\n");
}

TEST(Repeats, AreWrittenOnceAndLoseNothing) {
    std::mt19937 random(1);
    const auto below = [&](unsigned limit) { return random() % limit; };
    std::size_t written = 0;
    for (int round = 0; round < 300; ++round) {
        std::vector<std::string> lines;
        std::vector<EventLine> events;
        std::string text;
        Microseconds t = 0;
        const unsigned length = 1 + below(20), every = below(3);
        for (unsigned i = 0; i < 100; ++i) {
            t += i % length == 0 && below(20) == 0 ? 7 : every;
            const auto number = std::int64_t{below(200) == 0 ? i : i % length % 4};
            lines.push_back(report_line(t, "a", "b", {{"number", number}}) + "\n");
            events.push_back({t, {}});
            text += lines.back();
        }
        for (std::size_t i = 0; i < lines.size(); ++i)
            events[i].text = lines[i];
        const std::string folded = fold_repeats(events);
        ASSERT_EQ(unfolded_events(folded), unfolded_events(text));
        std::string told;
        for (const Event& event : read_events(folded))
            told += R"({"t":)" + std::to_string(event.t) + "," + event.what->text.substr(1) + "\n";
        ASSERT_EQ(told, text);
        written += static_cast<std::size_t>(std::ranges::count(folded, '\n'));
    }
    EXPECT_LT(written, 300 * 100 * 2 / 3);
}

TEST_F(RecordTest, DropsWhatIsNoReport) {
    Record record(folder_.path());
    for (const char* line :
         {"", "no report", "[1]", "{}", "{\"t\":3,\"source\":\"pro",
          R"({"t":"1","source":"a","event":"b"})", R"({"t":1,"source":2,"event":"b"})",
          R"({"t":1,"source":"a"})", "{\"t\":1,\"source\":\"a\",\"event\":\"\xff\"}",
          R"({"t":1,"source":"oled","event":"picture","pixels":"12"})"})
        record.line(line);
    for (const char wrong : {'/', ':', '`', 'g'})
        record.line(picture_line(1, {}).replace(100, 1, 1, wrong));
    EXPECT_EQ(read("events.jsonl"), "");
    for (const char right : {'0', '9', 'a', 'f'})
        record.line(picture_line(1, {}).replace(100, 1, 1, right));
    EXPECT_EQ(unfolded_events(read("events.jsonl")).size(), 4U);
}

TEST_F(RecordTest, ReportsTheTextsOfEachUnitAndWhenTheyCame) {
    Record record(folder_.path());
    for (const auto& [t, parallel, panel] : {std::tuple{1'000'000, "Testing", "012"},
                                             {2'000'000, "OK", "012"},
                                             {3'500'000, "OK", "<&\"2"}})
        record.line(
            picture_line(t, {{"ParallelPrt", parallel}, {"AES/EBU", ""}, {"Frontpanel", panel}}));
    record.line(picture_line(4'000'000, {})); // dark
    record.line(report_line(5'000'000, "console", "text", {{"text", ">\x01\n\x7F\x80\xFF"sv}}));
    record.line(R"({"t":5000000,"source":"program","event":"died","thread":2,"address":"0x7"})");
    write_reports(record, {"x", Verdict::aborted, {true, 11}, {"step 2"}});
    nlohmann::json report = nlohmann::json::parse(read("report.json"));
    const nlohmann::json units = std::exchange(report.at("units"), nlohmann::json::array());
    EXPECT_EQ(report,
              nlohmann::json::parse(
                  R"({"verdict": "ABORTED", "why": "", "board": "", "record": "cut", "signal": 11,
                  "death": {"thread": 2, "address": "0x7", "place": "an unknown place"}, "seconds": 5.0,
                  "left_safe": true, "left_on": [], "never_struck": ["step 2"],
                  "units": [], "margins": []})"));
    EXPECT_EQ(units.size(), 6);
    EXPECT_EQ(units[0], nlohmann::json::parse(R"({"name": "ParallelPrt", "status": "OK",
                  "first_change": 1.0, "last_change": 2.0,
                  "texts": [{"at": 1.0, "text": "Testing"}, {"at": 2.0, "text": "OK"}]})"));
    EXPECT_EQ(units[1], nlohmann::json::parse(R"({"name": "AES/EBU", "status": "",
                  "first_change": 1.0, "last_change": 1.0, "texts": [{"at": 1.0, "text": ""}]})"));
    EXPECT_EQ(units[2].at("texts").dump(),
              R"([{"at":1.0,"text":"012"},{"at":3.5,"text":"<&\"2"}])");
    EXPECT_TRUE(read("console.txt").ends_with("\x80\xFF"));
    const std::string xml = read("report.xml");
    for (const char* part :
         {R"(tests="6" failures="5" time="5">)", R"(<property name="verdict" value="ABORTED"/>)",
          R"(name="ParallelPrt" time="1"></testcase>)",
          R"(name="AES/EBU" time="0"><failure message="no status text"/></testcase>)",
          R"(name="Frontpanel" time="2.5"><failure message="&lt;&amp;&quot;2"/></testcase>)",
          "<system-out>&gt;?\n\x7F&#128;&#255;</system-out>"})
        EXPECT_THAT(xml, HasSubstr(part));
}

// Whoever reads the cases only must not take such a run for a pass.
TEST_F(RecordTest, ARunThatNoRowTellsAboutIsACaseOfItsOwn) {
    const Rows good(6, {"Ethernet", "OK"}), bad(6, {"Ethernet", "bad"});
    const std::tuple<Rows, Verdict, ProcessEnd, const char*> cases[] = {
        {good, Verdict::passed, {false, 0}, R"(tests="6" failures="0")"},
        {good, Verdict::died, {true, 11}, R"(tests="7" failures="1")"},
        {bad, Verdict::died, {true, 11}, R"(tests="6" failures="6")"},
        {{}, Verdict::passed, {false, 0}, R"(tests="1" failures="0")"},
        {{}, Verdict::not_run, {false, 0}, R"(name="run" time="7"><failure message="NOT RUN")"},
    };
    for (const auto& [rows, verdict, end, must_say] : cases) {
        Record record(folder_.path());
        record.line(picture_line(7'000'000, rows));
        record.line(report_line(7'000'000, "program", "end", {}));
        write_reports(record, {"x", verdict, end, {}});
        EXPECT_THAT(read("report.xml"), HasSubstr(must_say));
        EXPECT_EQ(nlohmann::json::parse(read("report.json")).contains("signal"), end.by_signal);
    }
}

// Ends that whole runs do not come to.
TEST(Verdict, BelievesOnlyAClosingLineThatFitsTheStatus) {
    const std::string closing = "Selftest exits with code ";
    const std::tuple<std::string, ProcessEnd, Verdict> cases[] = {
        {closing + "0\n", {false, 0}, Verdict::passed},
        {closing + "0\n", {true, 0}, Verdict::died},
        {"no line: " + closing + "0\n", {false, 0}, Verdict::not_run},
        {closing + "0\nmore\n", {false, 0}, Verdict::not_run},
        {closing + "-7\n", {false, 249}, Verdict::died},
        {closing + "127\n", {false, 127}, Verdict::died},
        {closing + "-128\n", {false, 128}, Verdict::died},
        {closing + "0\n", {false, 250}, Verdict::died},
    };
    for (const auto& [console, end, verdict] : cases) {
        Observation seen;
        seen.console = console;
        EXPECT_NE(judge(seen, end), Verdict::passed) << "cut";
        seen.ended = true;
        EXPECT_EQ(judge(seen, end), verdict) << console << end.code;
        seen.hopeless = "stall";
        EXPECT_EQ(judge(seen, end), Verdict::died);
        seen.limit = true;
        EXPECT_EQ(judge(seen, end), Verdict::undecided);
    }
}

} // namespace
