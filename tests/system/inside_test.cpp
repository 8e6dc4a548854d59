// What a look inside tells, against independent readers: sigrok-cli and SoX.
#include "launcher_stage.h"
#include "support/unfolded_events.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <map>
#include <regex>
#include <sstream>

namespace {

using namespace k4test;

constexpr std::string_view keys_of_word = "CDEA147*2580369#       M       K";

// A message on the I2C bus.
struct Message {
    bool read = false;
    std::string address;
    std::vector<unsigned> bytes;
    std::int64_t begin = 0, end = 0; // in units of the dump
};

class Inside : public LauncherStage {
protected:
    void SetUp() override {
        if (shell("command -v sigrok-cli").status != 0)
            GTEST_SKIP() << "sigrok-cli is missing: scripts/setup installs it";
    }

    std::vector<nlohmann::json> events() const { return unfolded_events(recorded("events.jsonl")); }

    std::string decoded(const std::string& what) const {
        return shell("sigrok-cli -i wires.vcd -I vcd --protocol-decoder-samplenum " + what).out;
    }

    std::vector<Message> i2c_messages() const {
        std::istringstream lines(
            decoded("-P i2c:scl=scl:sda=sda "
                    "-A i2c=start:stop:address-read:address-write:data-read:data-write"));
        std::vector<Message> messages;
        for (std::string line; std::getline(lines, line);) {
            const auto has = [&](const char* text) { return line.find(text) != std::string::npos; };
            const std::string byte = line.substr(line.size() - 2);
            if (has(" Start")) messages.push_back({false, "", {}, std::stoll(line), 0});
            if (messages.empty()) continue;
            Message& last = messages.back();
            last.read = last.read || has("Address read");
            last.end = std::stoll(line.substr(line.find('-') + 1));
            if (has("Address") && has(": ")) last.address = byte;
            if (has("Data ")) last.bytes.push_back(std::stoul(byte, nullptr, 16));
        }
        return messages;
    }

    // When each wire of the dump came to be high, "12+ ", or low, "15- ".
    std::map<std::string, std::string> changes() const {
        std::istringstream lines(shell("cat wires.vcd").out);
        std::map<char, std::string> names;
        std::map<std::string, std::string> changes;
        std::string time;
        bool begun = false; // the first levels are behind
        for (std::string line; std::getline(lines, line); begun = begun || line == "$end") {
            if (line.starts_with("$var")) names[line[12]] = line.substr(14, line.size() - 19);
            if (line[0] == '#') time = line.substr(1);
            if (begun && line.size() == 2 && line[0] != '#')
                changes[names[line[1]]] += time + (line[0] == '1' ? "+ " : "- ");
        }
        return changes;
    }
};

std::string name_of_key(const std::string& key) {
    return key == "*" ? "star" : key == "#" ? "hash" : key;
}

// Presses and steps, by the key words that went over the bus.
std::string operated(const std::vector<Message>& messages) {
    std::string text;
    std::uint32_t former = 0xFFFF;
    for (std::size_t i = 1; i < messages.size(); ++i) {
        const std::vector<unsigned>& reply = messages[i].bytes;
        if (messages[i - 1].bytes != std::vector<unsigned>{0x40} || reply.size() != 4) continue;
        const std::uint32_t word = reply[0] | reply[1] << 8 | reply[2] << 16 | reply[3] << 24;
        const std::uint32_t pressed = (word ^ 0xFFFF) & ~(former ^ 0xFFFF);
        for (std::size_t bit = 0; bit < keys_of_word.size(); ++bit)
            if (keys_of_word[bit] != ' ' && (pressed >> bit & 1) != 0) text += keys_of_word[bit];
        if ((word >> 24 & 0x3F) != (former >> 24 & 0x3F)) text += '(';
        if ((word >> 16 & 0x7F) != (former >> 16 & 0x7F)) text += ')';
        former = word;
    }
    return text;
}

TEST_F(Inside, ADecoderFindsOnI2cWhatTheModelsSaw) {
    const struct {
        std::string board;
        unsigned type, version, units_per_us;
    } boards[] = {{"i2c", 0x3C, 5, 1}, {"engine", 0x3D, 7, 10}};
    for (const auto& [board, type, version, units] : boards) {
        SCOPED_TRACE(board);
        launch("run --limit 2.9 --vcd wires.vcd --record record --board " + board +
               " -- " K4_PROGRAM " run");
        const std::vector<Message> messages = i2c_messages();
        ASSERT_GT(messages.size(), 1000u);
        for (const Message& message : messages)
            ASSERT_EQ(message.address, "3C");
        EXPECT_EQ(messages[1].bytes, std::vector{type});
        EXPECT_EQ(messages[3].bytes, std::vector{version});
        std::string pressed;
        for (const auto& event : events()) {
            if (event["event"] == "press") pressed += event["key"].get<std::string>();
            if (event["event"] == "turn") pressed += event["encoder"] == 1 ? '(' : ')';
            if (event["event"] != "contrast") continue;
            const auto t = event["t"].get<std::int64_t>() * units;
            EXPECT_TRUE(std::ranges::any_of(messages, [&](const Message& one) {
                return one.begin < t + 20 * units && t < one.end + 10 * units &&
                       one.bytes.back() == event["value"].get<unsigned>();
            })) << event;
        }
        EXPECT_EQ(operated(messages), pressed);
        EXPECT_GT(pressed.size(), 1u);
    }
}

TEST_F(Inside, ADecoderReadsTheSerialLines) {
    launch("run --fault serial-byte-flipped=3 --fault serial-byte-lost=6 --vcd wires.vcd --record "
           "record -- /usr/bin/python3 -c 'import os, time; "
           "os.write(os.open(\"/dev/ttyUSB0\", os.O_RDWR), b\"K/4 line\"); time.sleep(1)'");
    const auto text_on = [&](const std::string& line) {
        std::istringstream lines(
            decoded("-P uart:rx=" + line + ":baudrate=9600:format=ascii -A uart=rx-data"));
        std::string text;
        for (std::string one; std::getline(lines, one);)
            text += one.back();
        return text;
    };
    EXPECT_EQ(text_on("tx1"), "K/4 line");
    EXPECT_EQ(text_on("rx2"), "K/5 lne");
    EXPECT_EQ(text_on("tx2") + text_on("rx1"), "");
}

// Changes of several wires, by their times.
std::string in_order(const std::string& changes) {
    std::istringstream words(changes);
    std::map<long, std::string> sorted;
    for (std::string word; words >> word;)
        sorted[std::stol(word)] = word + " ";
    std::string text;
    for (const auto& [time, word] : sorted)
        text += word;
    return text;
}

// Each wire changes when its event says so.
TEST_F(Inside, WiresMoveWithTheEvents) {
    launch("run --fault link-dropped=usb0@5 --fault parallel-flaky=3:4 --vcd wires.vcd --record "
           "record -- " K4_PROGRAM " run");
    std::map<std::string, std::string> wires;
    std::map<std::string, std::string> turns;
    std::map<std::string, long> counts;
    for (const auto& event : events()) {
        const std::string source = event["source"], what = event["event"];
        const std::string t = std::to_string(event["t"].get<std::int64_t>());
        if (source == "aes" && what != "transmitter")
            wires["aes_lock"] += t + (what == "lock" ? "+ " : "- ");
        if (source == "link") wires["wan_link"] += t + (what == "up" ? "+ " : "- ");
        if (source == "sound" && event.contains("on"))
            wires[what + std::to_string(event["input"].get<int>())] +=
                t + (event["on"] ? "+ " : "- ");
        if (source == "operator" && event.contains("key"))
            wires["key_" + name_of_key(event["key"])] += t + (what == "press" ? "+ " : "- ");
        if (what == "turn") turns["knob" + std::to_string(event["encoder"].get<int>())] += t + " ";
        if (what == "tone")
            counts["speaker"] += 2 * event["hz"].get<long>() * event["ms"].get<long>() / 1000;
        if (what == "link-reset") counts["reset"] += 2;
    }
    EXPECT_GE(wires.size(), 20u);
    EXPECT_EQ(turns.size(), 2u);
    auto seen = changes();
    for (const auto& [name, expected] : wires)
        EXPECT_EQ(seen[name], expected) << name;
    for (const auto& [name, expected] : turns) // a step changes one of the phases
        EXPECT_EQ(std::regex_replace(in_order(seen[name + "_a"] + seen[name + "_b"]),
                                     std::regex("[+-]"), ""),
                  expected)
            << name;
    for (const auto& [name, expected] : counts)
        EXPECT_NEAR(std::ranges::count(seen[name], ' '), expected, name == "speaker" ? 60 : 0)
            << name;
}

// What happened until then is what happens without.
TEST_F(Inside, ARunStopsWhereItIsTold) {
    const std::string run = " --limit 20 --quiet -- " K4_PROGRAM " run";
    launch("run --record whole" + run);
    const auto whole = unfolded_events(shell("cat whole/events.jsonl").out);
    const struct {
        std::string place, text, row;
        std::int64_t least, most;
    } cases[] = {{"5.5", "", "", 5'500'000, 5'500'000},
                 {"'console:Key 4'", "Key 4", "", 1'000'000, 15'000'000},
                 {"'screen:Wait for 32000'", "", "Wait for 32000 Hz", 1'000'000, 15'000'000}};
    for (const auto& [place, text, row, least, most] : cases) {
        SCOPED_TRACE(place);
        const CommandResult result = launch("run --record record --stop-at " + place + run);
        EXPECT_EQ(result.status, 123);
        EXPECT_EQ(report()["verdict"], "UNDECIDED");
        EXPECT_EQ(report()["record"], "complete");
        auto stopped = events();
        ASSERT_GT(stopped.size(), 3u);
        EXPECT_EQ(stopped.back()["event"], "stop");
        const std::int64_t t = stopped.back()["t"];
        EXPECT_TRUE(least <= t && t <= most) << t;
        const auto last_text = std::find_if(stopped.rbegin(), stopped.rend(), [](const auto& one) {
            return one["source"] == "console";
        });
        EXPECT_THAT((*last_text)["text"].get<std::string>(), testing::HasSubstr(text));
        EXPECT_THAT(report()["units"][5]["status"].get<std::string>(), testing::HasSubstr(row));
        std::erase_if(stopped, [&](const auto& one) { return one["t"] >= t; });
        EXPECT_TRUE(std::equal(stopped.begin(), stopped.end(), whole.begin()));
    }
}

// With the command that is printed; also one that goes before it has looked at anything.
TEST_F(Inside, ADebuggerCostsNoVirtualTime) {
    const std::string run = " --limit 6 -- " K4_PROGRAM " run";
    launch("run --record whole" + run);
    const std::string events = shell("cat whole/events.jsonl").out;
    ASSERT_GT(events.size(), 1000u);
    const std::pair<std::string, std::string> cases[] = {
        {"", "detached"},
        {"-ex 'tbreak write' -ex continue -ex 'stepi 200' -ex 'tbreak write' -ex continue -ex bt",
         "hit Temporary breakpoint 2.*KLTpthreadBase::entry"}};
    for (const auto& [commands, seen] : cases) {
        write("attach.sh", "while read -r line; do case $line in *'attach by: '*)\n"
                           "eval \"timeout 100 ${line#*attach by: } -nx --batch " +
                               commands + "\" >gdb.txt 2>&1;; esac; done");
        shell("timeout 60 " K4_SIM " run --record record --stop-at 3.25 --gdb" + run +
              " 2>&1 >console.txt | sh attach.sh");
        EXPECT_EQ(recorded("events.jsonl"), events);
        const std::string told = shell("tr '\\n' ' ' <gdb.txt").out;
        EXPECT_TRUE(std::regex_search(told, std::regex(seen))) << told;
    }
}

// Each file of the record as Python reads it, and how loud a frequency is there, in dB.
constexpr const char* sound_reader = R"(
import array, cmath, glob, json, math, os, sys, wave
for name in sorted(glob.glob('record/wave/*.wav')):
    with wave.open(name) as file:
        channels, size, rate, frames = file.getparams()[:4]
        samples = array.array('h', file.readframes(frames))
    levels = []
    for hz, begin in json.loads(sys.argv[1]):
        place = int(begin * rate) * channels
        for channel in (0, 1):
            part = samples[place + channel % channels:place + rate // 5 * channels:channels]
            turn = -2j * math.pi * hz / rate
            sum_ = sum(value * cmath.exp(turn * i) for i, value in enumerate(part))
            levels.append(20 * math.log10(abs(sum_) * 2**0.5 / len(part) / 32768 + 1e-9))
    print(json.dumps([os.path.basename(name), channels, rate, len(samples) // channels / rate,
                      os.path.getsize(name) - 2 * len(samples), *levels]))
)";

class Sound : public Inside {
protected:
    // Frequency and begin of 0.2 s, in seconds.
    std::vector<nlohmann::json> sounds(const nlohmann::json& places) const {
        write("reader.py", sound_reader);
        std::istringstream lines(shell("python3 reader.py '" + places.dump() + "'").out);
        std::vector<nlohmann::json> files;
        for (std::string line; std::getline(lines, line);)
            files.push_back(nlohmann::json::parse(line));
        return files;
    }
};

// The tone is as loud as the program says that it measured, and as the fault makes it.
TEST_F(Sound, IsWhatTheConsoleTells) {
    const struct {
        std::string options;
        int channels;
        double left_db;
    } cases[] = {{"--board aes --fault analog-gain-left=-6@15", 6, -21.75},
                 {"--board plain", 4, -15.75}};
    for (const auto& [options, channels, left_db] : cases) {
        SCOPED_TRACE(options);
        launch("run --wave --record record --limit 50 " + options + " -- " K4_PROGRAM " run");
        nlohmann::json places;
        std::vector<double> told; // of both inputs
        double beep = 0;
        for (const auto& event : events()) {
            const double t = event["t"].get<double>() / 1e6;
            if (event["event"] == "tone") beep = t;
            std::istringstream text(event.value("text", ""));
            double hz = 0, expected = 0, left = 0, right = 0;
            std::string word;
            if (!(text >> hz >> word >> word >> word >> word >> expected) || word != "=") continue;
            text.ignore(100, '=') >> left >> right;
            places.push_back({hz, t - 0.3});
            told.insert(told.end(), {left, right});
        }
        ASSERT_GE(places.size(), 6u);
        places.push_back({500.07, beep}); // of divider 2386
        const auto files = sounds(places);
        ASSERT_EQ(files.size(), 3u);
        const std::pair<std::string, int> kinds[] = {
            {"0001-device0-playback", channels}, {"0002-device0-capture", 2}, {"beeps.wav", 1}};
        for (std::size_t i = 0; i < files.size(); ++i) {
            EXPECT_TRUE(files[i][0].get<std::string>().starts_with(kinds[i].first)) << files[i];
            EXPECT_EQ(files[i][1], kinds[i].second);
            EXPECT_EQ(files[i][2], 48000);
            EXPECT_NEAR(files[i][3].get<double>(), 50, 1);
            EXPECT_EQ(files[i][4], 44);
        }
        for (std::size_t i = 0; i < told.size(); ++i) {
            EXPECT_NEAR(files[0][5 + i].get<double>(), -9.01, 0.05) << i;
            const double level_db = i % 2 == 0 ? left_db : -15.75;
            EXPECT_NEAR(files[1][5 + i].get<double>(), level_db, 0.05) << i;
            EXPECT_NEAR(told[i], level_db, 0.7) << i; // of parts of a wave
        }
        // Half of the 0.2 s: the ground wave of a square wave at -12 dB.
        EXPECT_NEAR(files[2].back().get<double>(), -12.04 - 0.91 - 6.02, 0.1);
    }
}

TEST_F(Sound, HasItsSizesWhenItEndsBadly) {
    const std::string run = K4_SIM " run --limit 4 --wave --record record --stop-at 3 ";
    const struct {
        std::string command, closing;
    } cases[] = {
        {run +
             "--gdb -- " K4_PROGRAM " run 2>&1 >/dev/null | while read -r line; do "
             "echo $line; p=${line#*gdb -p }; [ \"$p\" = \"$line\" ] || kill -KILL ${p%% *}; done",
         "DIED"},
        {"trap '' XFSZ; ulimit -f 2000; " + run + "-- " K4_PROGRAM " run 2>&1",
         "the record is cut: the sound is cut: File too large"},
    };
    for (const auto& [command, closing] : cases) {
        EXPECT_THAT(shell(command).out, testing::HasSubstr(closing));
        const auto files = sounds(nlohmann::json::array());
        EXPECT_EQ(files.size(), 3u);
        for (const auto& file : files) {
            EXPECT_EQ(file[4], 44) << file;
            EXPECT_GT(file[3], 1.5) << file;
        }
    }
    launch("run --record record -- /bin/true");
    EXPECT_FALSE(std::filesystem::exists(folder_.file("record/wave")));
}

} // namespace
