// What a look inside tells, against independent readers: sigrok-cli and SoX.
#include "launcher_stage.h"
#include "support/unfolded_events.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <map>
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
        launch("run --limit 3 --vcd wires.vcd --record record --board " + board +
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

// Each wire changes when its event says so.
TEST_F(Inside, WiresMoveWithTheEvents) {
    launch("run --fault link-dropped=usb0@5 --fault parallel-flaky=3:4 --vcd wires.vcd --record "
           "record -- " K4_PROGRAM " run");
    std::map<std::string, std::string> wires;
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
        if (what == "turn") ++counts["knob" + std::to_string(event["encoder"].get<int>())];
        if (what == "tone")
            counts["speaker"] += 2 * event["hz"].get<long>() * event["ms"].get<long>() / 1000;
        if (what == "link-reset") counts["reset"] += 2;
    }
    EXPECT_GE(wires.size(), 20u);
    auto seen = changes();
    for (const auto& [name, expected] : wires)
        EXPECT_EQ(seen[name], expected) << name;
    for (const auto& [name, expected] : counts)
        EXPECT_NEAR(std::ranges::count(seen[name + "_a"] + seen[name + "_b"] + seen[name], ' '),
                    expected, name == "speaker" ? 60 : 0)
            << name;
}

} // namespace
