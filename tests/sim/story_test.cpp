// What the story makes of a console, of rows and of events: margins, reasons, page.
#include "sim/story/margins.h"
#include "sim/story/page.h"
#include "sim/story/reasons.h"
#include "sim/story/sources.h"

#include <algorithm>
#include <cmath>
#include <gmock/gmock.h>
#include <nlohmann/json.hpp>
#include <sstream>

namespace {

using namespace k4sim;
using testing::HasSubstr;

constexpr Microseconds second = 1'000'000;

std::string quiet(double noise, double dc) {
    std::ostringstream line;
    line << "Silence: RMS=  " << noise << "  -90.0, Swing=  -86.8  -84.3, DC=  -66.0  " << dc;
    return line.str();
}

std::string tone(int hertz, double one, double two) {
    std::ostringstream line;
    line << hertz << " Hz RMSdc expect = -9.0103: RMSdc =  " << one << "  " << two << "   OK   OK";
    return line.str();
}

// A line a second, from the first second on.
Story story_of(const std::vector<std::string>& lines, const std::vector<StatusRow>& rows = {},
               const std::vector<AesLock>& locks = {}) {
    Story story;
    for (const std::string& line : lines)
        story.hear((story.end_us += second), line + "\r\n");
    story.rows = rows;
    story.locks = locks;
    story.end_us = std::max(story.end_us, 60 * second);
    story.close();
    return story;
}

// "missed -70 -8 at 2"
std::string words_of(const Margin& margin) {
    std::ostringstream words;
    words << name_of(margin.state);
    if (margin.worst)
        words << " " << *margin.worst << " " << *margin.distance << " at "
              << static_cast<double>(margin.at_us) / second;
    return words.str();
}

TEST(Margins, AreThoseOfTheTriesThatDecided) {
    const std::string limits = "Expected input RMS = -9.0103 dB (-11.0103 .. -7.0103)";
    std::vector<std::string> passed{quiet(-70, -60)}, sweeps{limits};
    passed.resize(9, quiet(-80, -46.5)); // eight good ones behind a bad one
    passed.emplace_back("Check for loopback audio");
    for (int sweep = 0; sweep < 5; ++sweep) // the first one is bad at one frequency
        for (const int hertz : {25, 100, 500, 1000, 5000, 12000, 19000})
            sweeps.push_back(tone(hertz, hertz == 500 && sweep == 0 ? -20 : -9, -8.01));
    const auto row = [](const char* label, const std::vector<StatusText>& texts) {
        return std::vector<StatusRow>{{label, texts}};
    };
    const auto waits = row("AES/EBU", {{second, "Wait for cable unplugged"},
                                       {7 * second, "Wait for 32000 Hz 'LOCK'"},
                                       {19 * second, "Wait for 44100 Hz 'LOCK'"}});
    const std::vector<AesLock> locks{{8 * second, 32000},  {10 * second, 0},
                                     {12 * second, 32000}, {19 * second, 0},
                                     {20 * second, 44100}, {23 * second, 0}};
    const std::vector<AesLock> foreign{{7 * second, 48000}};
    std::vector<std::string> three_sweeps(sweeps.begin(), sweeps.end() - 7);
    const struct {
        Story story;
        const char* quantity;
        const char* margin;
    } cases[] = {
        {story_of(passed), "noise of input 1", "met -80 2 at 2"},
        {story_of({quiet(-80, -60), quiet(-70, -44)}), "noise of input 1", "missed -70 -8 at 2"},
        {story_of(passed), "DC of input 2", "met -46.5 1.5 at 2"},
        {story_of({quiet(-80, -60), quiet(-70, -44)}), "DC of input 2", "missed -44 -1 at 2"},
        {story_of({"Silence: RMS= -inf"}), "noise of input 1", "not judged"},
        {story_of({quiet(-INFINITY, -60)}), "noise of input 1", "met -200 122 at 1"},
        {story_of(passed), "quiet cycles in a row", "met 8 0 at 9"},
        {story_of({quiet(-80, -60), quiet(-80, -60), quiet(-70, -60), quiet(-80, -60)}),
         "quiet cycles in a row", "missed 2 -6 at 2"},
        {story_of(sweeps), "gain of input 1 at 500 Hz", "met -9 1.99 at 11"},
        {story_of(sweeps), "gain of input 2 at 25 Hz", "met -8.01 1 at 9"},
        {story_of(sweeps), "good sweeps", "met 4 0 at 36"},
        {story_of(three_sweeps), "good sweeps", "missed 3 -1 at 29"},
        {story_of(three_sweeps), "gain of input 1 at 500 Hz", "missed -20 -8.99 at 4"},
        {story_of({"Check for loopback audio"}), "tone over the cable", "missed"},
        {story_of({"Key 15", "Key 4", "Key 15", "Key 15"}), "order of keys: others between two Esc",
         "missed 0 -1 at 4"},
        {story_of({"micBoost=1 check=0 keypad=0 analog=1", "Key 15", "Key 4", "Key 15"}),
         "keys and steps of the knobs", "missed 1 -6 at 2"},
        {story_of({}, row("ParallelPrt", {{0, "Bit status: ++0+1+++"}})), "good lines",
         "missed 6 -2 at 0"},
        {story_of({}, row("ParallelPrt", {{0, "Bit status: ++++++++"}})), "good passes in a row",
         "missed"},
        {story_of({}, row("Ethernet", {{0, "LAN-ok   WAN-??"}, {second, "OK"}})),
         "readings of both links up in a row", "met 20 0 at 1"},
        {story_of({}, row("USB Ports", {{0, "Missing USBs: 1"}, {second, "In progress: 37"}})),
         "good rounds in a row", "missed 37 -63 at 1"},
        {story_of({}, waits, locks), "without lock", "met 7 2 at 0"},
        {story_of({}, waits, locks), "lock at 32000 Hz", "met 7 2 at 12"},
        {story_of({}, waits, locks), "lock at 44100 Hz", "missed 3 -2 at 20"},
        {story_of({}, waits, foreign), "lock at 44100 Hz", "missed"},
        {story_of({}, row("AES/EBU", {{0, ""}})), "without lock", "not judged"},
    };
    for (const auto& [story, quantity, margin] : cases) {
        const std::vector<Margin> ledger = ledger_of(story);
        const auto found = std::ranges::find(ledger, quantity, &Margin::quantity);
        ASSERT_NE(found, ledger.end()) << quantity;
        EXPECT_EQ(words_of(*found), margin) << quantity;
    }
    const auto smallest_of = [](const Story& story) {
        const std::vector<Margin> ledger = ledger_of(story);
        const Margin* const margin = smallest(ledger);
        return margin == nullptr ? "none" : in_words(*margin);
    };
    EXPECT_EQ(smallest_of(story_of({"Key 1", quiet(-70, -60)})), "-8 dB (noise of input 1)");
    EXPECT_EQ(smallest_of(story_of({quiet(-79, -60)})), "-7 (quiet cycles in a row: 1 of 8)");
    EXPECT_EQ(smallest_of(story_of(passed)), "1.5 dB (DC of input 2)");
    EXPECT_EQ(smallest_of(story_of({})), "none");
}

TEST(Reasons, SayWhatARowMeans) {
    const std::tuple<const char*, const char*, const char*> cases[] = {
        {"AnalogAudio", "Loop gain -6.0 -6.0 (2)", ": both inputs 4.0 dB below the limit"},
        {"AnalogAudio", "Loop gain (line) 0.3 2.5 (2)", ": input 2 0.5 dB above the limit"},
        {"AnalogAudio", "Loop gain 0.0 0.0 (2)",
         ": gain of input 2 at 25 Hz 1.0 dB beyond the limit"},
        {"AnalogAudio", "Silence/DC 3.2 -11.5 -20.9 1.0",
         ": input 1 3.2 dB above the limit of noise, input 2 1.0 dB above the limit of DC"},
        {"ParallelPrt", "Bit status: +0+1LH++",
         ": line 1 never high, line 3 stuck high, line 4 tied to another, line 5 tied to another"},
        {"Ethernet", "LAN-??   WAN-??", ": no link at LAN and WAN"},
        {"AES/EBU", "Wait for 32000 Hz 'LOCK'", ": the receiver never locked to 32000 Hz"},
        {"Frontpanel", "37", ""},
    };
    const std::vector<Margin> ledger = ledger_of(story_of(
        {"Expected input RMS = -9.0103 dB (-11.0103 .. -7.0103)", tone(25, -9.01, -6.01)}));
    for (const auto& [label, text, why] : cases)
        EXPECT_EQ(rows_not_ok({{"USB Ports", {{0, "OK"}}}, {label, {{0, text}}}}, ledger),
                  std::string(label) + " stayed at \"" + text + "\"" + why);
}

nlohmann::json data_of(const std::string& page) {
    const std::string before = "id=\"data\">";
    const std::size_t begin = page.find(before) + before.size();
    return nlohmann::json::parse(page.substr(begin, page.find("</script>", begin) - begin));
}

TEST(Page, OfALongRunIsSmallAndSaysWhatIsLeftOut) {
    Story story;
    for (int i = 0; i < 30'000; ++i) {
        const Microseconds t = i * second;
        story.hear(t, i % 2 == 0 ? "</script><!--" + std::string(300, '\'') + "\n"
                                 : quiet(-80, -60) + "\n");
        story.marks.push_back({t, Mark::Kind::beep, "500 Hz"});
        story.pictures.push_back({t, "oled-" + std::to_string(i) + ".png"});
        story.locks.push_back({t, i});
    }
    story.pictures.push_back({30'000 * second, "oled-/../../secret.png"});
    story.rows = {{"USB Ports", std::vector<StatusText>(9'000, {0, "In progress: 1"})}};
    story.end_us = 30'000 * second;
    story.close();
    Telling telling{"long", Json::object().set("verdict", "ABORTED"), story, ledger_of(story)};
    telling.picture = [](const std::string& file) {
        EXPECT_EQ(file.find('/'), std::string::npos);
        return "\x89PNG" + file + std::string(3000, 'x');
    };
    const std::string page = page_of(telling);
    EXPECT_LT(page.size(), 2'000'000);
    const nlohmann::json data = data_of(page);
    EXPECT_GT(data["pictures"].size(), 100);
    EXPECT_EQ(data["console"].front()[0], 0);
    EXPECT_EQ(data["console"].back()[0], 29'999);
    EXPECT_EQ(data["console"].front()[1].get<std::string>().substr(0, 9), "</script>");
    for (const char* what : {"lines of the console", "pictures of the OLED", "kind beep",
                             "row USB Ports", "cycles of silence", "locks of the AES"})
        EXPECT_THAT(data["notes"].dump(), HasSubstr(what));
}

TEST(Console, OfARealDeviceTellsOfItsLastRun) {
    const std::string start = "***** Vorlink K/4 selftest V1.7, Jan  1 2024 *****\r\n";
    const std::string bytes = "# k4selftest run\n" + start + quiet(-1, -1) + "\n" + start +
                              "\xFC\n" + quiet(-80, -60) + "\nSelftest exits with code ";
    const std::tuple<const char*, const char*, const char*> cases[] = {
        {"0\n", "PASSED", "met"},
        {"-6", "ABORTED", "not told"},
        {"-3\n", "NOT STARTED", "not told"},
        {"x", "UNDECIDED", "not told"}};
    for (const auto& [code, verdict, usb] : cases) {
        const Telling telling = read_console("a/tty.log", bytes + code);
        EXPECT_EQ(telling.report.text("verdict"), verdict);
        EXPECT_EQ(telling.title, "tty.log");
        const auto margin = [&](const std::string& quantity) {
            const auto found = std::ranges::find(telling.ledger, quantity, &Margin::quantity);
            return words_of(*found).substr(0, words_of(*found).find(" 1"));
        };
        EXPECT_EQ(margin("noise of input 1"), "met -80 2 at 3");
        EXPECT_EQ(margin("good rounds in a row"), usb);
        const nlohmann::json data = data_of(page_of(telling));
        EXPECT_EQ(data["console"][1], nlohmann::json::parse(R"([2.0, "ü"])"));
        EXPECT_GE(data["notes"].size(), 4);
    }
    EXPECT_THROW(read_console("x", "Selftest exits with code 0\n"), std::runtime_error);
}

} // namespace
