#include "sim/launcher/record.h"

#include "scratch_folder.h"
#include "sim/launcher/options.h"
#include "sim/launcher/verdict.h"
#include "status_picture.h"

#include <fstream>
#include <nlohmann/json.hpp>
#include <sstream>

namespace {

using namespace k4sim;
namespace fs = std::filesystem;

std::string read(const fs::path& path) {
    std::ostringstream text;
    text << std::ifstream(path, std::ios::binary).rdbuf();
    return text.str();
}

using Recording = ScratchFolderTest;

const std::string dark(std::size_t{glass_width} * glass_height, '0');

std::string picture_line(const std::string& what, const std::string& pixels, int t = 7) {
    return R"({"t":)" + std::to_string(t) + R"(,"source":"oled","event":")" + what +
           R"(","pixels":")" + pixels + "\"}";
}

TEST_F(Recording, SortsTheReportIntoFiles) {
    const fs::path target = folder / "a" / "b";
    Record record(target.string());
    record.line(R"({"t":1,"source":"speaker","event":"tone","hz":500})");
    record.line(
        R"({"t":2,"source":"console","event":"text","stream":1,"text":"Gr\u00fc\u00dfe\n"})");
    record.line("{\"t\":3,\"source\":\"pro"); // cut off
    record.line(picture_line("picture", dark));
    record.line(picture_line("final-picture", dark));
    record.line(picture_line("picture", "12"));

    EXPECT_EQ(read(target / "console.txt"), "Gr\xfc\xdf"
                                            "e\n");
    const std::string events = read(target / "events.jsonl");
    EXPECT_TRUE(events.starts_with(R"({"t":1,"source":"speaker","event":"tone","hz":500})"
                                   "\n"));
    EXPECT_NE(events.find(R"("file":"oled-0001.png")"), std::string::npos);
    EXPECT_EQ(events.find("pixels"), std::string::npos);
    EXPECT_EQ(record.observation().duration_us, 7);

    EXPECT_TRUE(fs::exists(target / "oled-0001.png"));
    EXPECT_TRUE(fs::exists(target / "oled-final.png"));
}

TEST_F(Recording, ReplacesAnEarlierRecordAndNothingElse) {
    for (const char* name :
         {"events.jsonl", "oled-0009.png", "report.xml", "notes.txt", "oled.txt"})
        std::ofstream(folder / name) << "old";
    Record record(folder.string());
    EXPECT_EQ(read(folder / "events.jsonl"), "");
    EXPECT_FALSE(fs::exists(folder / "oled-0009.png"));
    EXPECT_FALSE(fs::exists(folder / "report.xml"));
    EXPECT_EQ(read(folder / "notes.txt"), "old");
    EXPECT_EQ(read(folder / "oled.txt"), "old");
}

TEST_F(Recording, WhatIsNoReportIsDropped) {
    Record record(folder.string());
    for (const char* line : {"", "no report", "[1]", "{}", R"({"t":"1","source":"a","event":"b"})",
                             R"({"t":1,"source":2,"event":"b"})", R"({"t":1,"source":"a"})",
                             "{\"t\":1,\"source\":\"a\",\"event\":\"\xff\"}",
                             R"({"t":1,"source":"oled","event":"picture","pixels":7})"})
        record.line(line);
    EXPECT_EQ(read(folder / "events.jsonl"), "");
    EXPECT_NO_THROW(record.check_written());
}

std::string pixels_of(const Picture& picture) {
    std::string pixels;
    for (const std::uint8_t grey : picture)
        pixels += "0123456789abcdef"[grey];
    return pixels;
}

std::string table_line(int t, const std::string& parallel, const std::string& panel) {
    const StatusPicture table({{"ParallelPrt", parallel}, {"", ""}, {"Frontpanel", panel}});
    return picture_line("picture", pixels_of(table.picture()), t);
}

// The rows of the table as "name status since".
std::vector<std::string> units_of(const nlohmann::json& report) {
    std::vector<std::string> units;
    for (const auto& unit : report.at("units"))
        if (unit.at("name") != "")
            units.push_back(unit.at("name").get<std::string>() + " " +
                            unit.at("status").get<std::string>() + " " + unit.at("since").dump());
    return units;
}

TEST_F(Recording, ReportsTheLastTextOfEachUnitAndWhenItCame) {
    Record record(folder.string());
    record.line(table_line(1'000'000, "Testing", "012"));
    record.line(table_line(2'000'000, "OK", "012"));
    record.line(table_line(3'000'000, "OK", "2"));
    record.line(picture_line("final-picture", dark));
    write_reports(record, Verdict::aborted, {false, 250});
    const auto report = nlohmann::json::parse(read(folder / "report.json"));
    EXPECT_EQ(units_of(report),
              (std::vector<std::string>{"ParallelPrt OK 2.0", "Frontpanel 2 3.0"}));
    EXPECT_EQ(report.at("status"), 250);
    const std::string xml = read(folder / "report.xml");
    EXPECT_NE(xml.find(R"(name="ParallelPrt" time="2"></testcase>)"), std::string::npos) << xml;
    EXPECT_NE(xml.find(R"(name="Frontpanel" time="3"><failure message="2"/></testcase>)"),
              std::string::npos)
        << xml;
}

// Whoever reads the cases only must not take such a run for a pass.
TEST_F(Recording, ARunThatFailsWithAllRowsPassedIsAFailedCaseOfItsOwn) {
    const StatusPicture all_passed(
        std::vector<std::pair<std::string, std::string>>(6, {"Ethernet", "OK"}));
    const auto counts = [&](Verdict verdict, ProcessEnd end) {
        Record record(folder.string());
        record.line(picture_line("picture", pixels_of(all_passed.picture())));
        write_reports(record, verdict, end);
        const std::string xml = read(folder / "report.xml");
        return xml.substr(xml.find("tests="), xml.find(" time=") - xml.find("tests="));
    };
    EXPECT_EQ(counts(Verdict::passed, {false, 0}), R"(tests="6" failures="0")");
    EXPECT_EQ(counts(Verdict::died, {true, 11}), R"(tests="7" failures="1")");
}

TEST_F(Recording, ReportsAreWellFormed) {
    Record record(folder.string());
    record.line(
        R"({"t":2500000,"source":"console","event":"text","stream":1,"text":"<&\"\u0001\n"})");
    write_reports(record, Verdict::died, {true, 11});
    const auto report = nlohmann::json::parse(read(folder / "report.json"));
    EXPECT_EQ(report.at("verdict"), "DIED");
    EXPECT_EQ(report.at("signal"), 11);
    EXPECT_EQ(report.at("seconds"), 2.5);
    const std::string xml = read(folder / "report.xml");
    EXPECT_NE(xml.find("&lt;&amp;&quot;?"), std::string::npos) << xml;
    EXPECT_NE(xml.find(R"(name="verdict" value="DIED")"), std::string::npos) << xml;
}

} // namespace
