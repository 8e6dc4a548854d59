// What a campaign makes of its runs.
#include "sim/campaign/coverage.h"
#include "sim/campaign/sighting.h"
#include "sim/campaign/time_left.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using namespace k4sim;

Sighting sighting(const std::string& verdict, const std::string& usb, const std::string& audio,
                  const std::string& pitch = "500 Hz") {
    Sighting seen;
    seen.verdict = verdict;
    if (!usb.empty()) seen.rows = {{"USB Ports", {{0, usb}}}, {"AnalogAudio", {{0, audio}}}};
    seen.perceived = {pitch};
    return seen;
}

// A row can't be read, and the operator did something else or not.
Sighting garbled(Sighting seen, bool acted_otherwise) {
    seen.rows.at(0).label = "U?B Ports";
    const Json press = Json::object().set("source", "operator").set("event", "press");
    if (acted_otherwise)
        seen.events.push_back({1, std::make_shared<Happening>(Happening{press, press.dump()})});
    return seen;
}

TEST(Campaign, TellsTheClassOfARunByTheRunWithoutAFault) {
    const Sighting passes = sighting("PASSED", "OK", "OK");
    const Sighting ended = sighting("ABORTED", "OK", "");
    const struct {
        const char* unit;
        const Sighting& good;
        Sighting run;
        const char* expected;
    } cases[] = {
        {"USB Ports", passes, sighting("ABORTED", "Not running", "OK"), "detected"},
        {"USB Ports", passes, sighting("ABORTED", "OK", "Loop gain"), "misleading"},
        {"USB Ports", passes, sighting("NOT STARTED", "", ""), "misleading"},
        {"", passes, sighting("NOT STARTED", "", ""), "detected"},
        {"", passes, sighting("ABORTED", "Not running", "OK"), "detected"},
        {"USB Ports", passes, sighting("PASSED", "OK", "OK"), "escaped"},
        {"USB Ports", passes, sighting("PASSED", "OK", "OK", "400 Hz"), "operator"},
        {"USB Ports", ended, sighting("ABORTED", "OK", ""), "escaped"},
        {"USB Ports", ended, sighting("ABORTED", "OK", "", "400 Hz"), "operator"},
        {"USB Ports", ended, sighting("ABORTED", "Not running", ""), "detected"},
        {"AnalogAudio", ended, sighting("ABORTED", "Not running", ""), "misleading"},
        {"USB Ports", ended, garbled(sighting("ABORTED", "OK", "", "400 Hz"), false), "operator"},
        {"USB Ports", ended, garbled(sighting("ABORTED", "OK", ""), false), "escaped"},
        {"USB Ports", ended, garbled(sighting("ABORTED", "OK", ""), true), "operator"},
        {"AnalogAudio", passes, garbled(sighting("ABORTED", "OK", "Loop"), true), "operator"},
        {"USB Ports", ended, garbled(sighting("NOT STARTED", "OK", ""), true), "misleading"},
        {"USB Ports", passes, sighting("UNDECIDED", "Not running", "OK"), "blocked"},
        {"USB Ports", passes, sighting("DIED", "Not running", "OK"), "died"},
    };
    for (const auto& [unit, good, run, expected] : cases)
        EXPECT_EQ(class_of({"f", "aes", unit, "", ""}, run, good), expected)
            << unit << ": " << run.verdict;
}

TEST(Campaign, TellsTheTimeLeft) {
    EXPECT_EQ(time_left_line(0, 90, 0, 3.0), "0 of 90 runs");
    EXPECT_EQ(time_left_line(30, 90, 0, 15.0), "30 of 90 runs, 30 s left");
    EXPECT_EQ(time_left_line(30, 90, 2, 100.1),
              "30 of 90 runs, 2 not as expected, 3 min 21 s left");
    EXPECT_EQ(time_left_line(1, 3601, 0, 2.0), "1 of 3601 runs, 2 h 0 min left");
}

TEST(Coverage, TellsHowMuchWhenAndWhatLooksTheSame) {
    const struct {
        const char *fault, *unit, *found, *text;
        double told_at, differs_at;
    } runs[] = {{"a", "AnalogAudio", "detected", "Loop gain -6.0 -6.0 (1)", 10, 2},
                {"b", "AnalogAudio", "detected", "Loop gain -5.0 -9.0 (2)", 20, 30},
                {"c", "AnalogAudio", "detected", "Voltages, loopback", 40, 5},
                {"d|<e>", "USB Ports", "escaped", "OK", 0, 1}};
    std::vector<Json> results;
    for (const auto& run : runs)
        results.push_back(
            Json::object()
                .set("fault", run.fault)
                .set("board", "aes")
                .set("unit", run.unit)
                .set("expected", "detected")
                .set("why", "why " + std::string(run.fault))
                .set("class", run.found)
                .set("verdict", "ABORTED")
                .set("rows",
                     Json::array().add(Json::object().set("unit", run.unit).set("text", run.text)))
                .set("told_at", run.told_at)
                .set("differs_at", run.differs_at)
                .set("left_safe", run.told_at != 40));
    const Document document = coverage_document(results);
    const std::string markdown = as_markdown(document), page = as_page(document);
    for (const char* const line :
         {"3 of 4 single faults are detected (75.0 %). With those that mislead, or that nobody can "
          "end, 3 (75.0 %) do not come to a good end.",
          "| AnalogAudio | 3 | 3 | 100.0 % | 0 |",
          "| in all | 4 | 3 | 75.0 % | 0 | 0 | 1 | 0 | 0 |",
          "| AnalogAudio | 10.0 | 30.0 | 30.0 | 40.0 |", // the later one of both times
          "| AnalogAudio | 2 | 1 | 1 | 1 | 2 |",         // a and b look the same
          "| USB Ports | why d\\|\\<e> | d\\|\\<e> (aes) |", "what switches it is broken: c (aes).",
          "| d\\|\\<e> on aes | detected | escaped |"})
        EXPECT_THAT(markdown, testing::HasSubstr(line));
    EXPECT_THAT(page, testing::HasSubstr("<td>d|&lt;e> on aes</td><td>detected</td>"));
    const auto json = Json::parse(coverage_json(results));
    ASSERT_TRUE(json);
    EXPECT_EQ(json->list("runs").size(), 4U);
    EXPECT_EQ(json->list("units").at(1).dump(),
              R"({"unit":"USB Ports","detected":0,"misleading":0,"operator":0,"escaped":1,)"
              R"("blocked":0,"died":0})");
}

} // namespace
