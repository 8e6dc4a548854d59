#include "sim/story/readings.h"

#include <algorithm>
#include <charconv>
#include <cmath>

namespace k4sim {

namespace {

constexpr double no_signal_db = -200; // for a level of nothing, which has no decibels

constexpr bool is_digit(char c) { return c >= '0' && c <= '9'; }

void take_settings(Readings& readings, const StatusText& line) {
    if (!line.text.starts_with("micBoost=")) return;
    readings.keypad = line.text.find("keypad=0") == std::string::npos;
    readings.analog = line.text.find("analog=0") == std::string::npos;
}

void take_quiet(Readings& readings, const StatusText& line) {
    if (!line.text.starts_with("Silence: RMS=")) return;
    const std::vector<double> db = numbers_of(line.text); // RMS, swing and DC of both inputs
    if (db.size() == 6) readings.quiet.push_back({line.at_us, {db[0], db[1]}, {db[4], db[5]}});
}

void take_limits(Readings& readings, const StatusText& line) {
    if (line.text.starts_with("Nominal input swing = "))
        for (const double db : numbers_of(line.text))
            readings.nominal_swing = db;
    if (!line.text.starts_with("Expected input RMS =")) return;
    const std::vector<double> db = numbers_of(line.text); // expected, lowest, highest
    if (db.size() != 3) return;
    readings.lowest = db[1];
    readings.highest = db[2];
}

// A frequency that is no higher than the one before begins a sweep.
void take_tone(Readings& readings, const StatusText& line) {
    if (line.text.find(" Hz RMSdc expect = ") == std::string::npos) return;
    const std::vector<double> numbers = numbers_of(line.text); // Hz, expected, both inputs
    if (numbers.size() != 4) return;
    Tone tone{line.at_us, 0, numbers[0], {numbers[2], numbers[3]}};
    if (!readings.tones.empty()) {
        const Tone& former = readings.tones.back();
        tone.sweep = former.sweep + (tone.hertz <= former.hertz ? 1 : 0);
    }
    readings.tones.push_back(tone);
}

void take_words(Readings& readings, const StatusText& line) {
    const std::string& text = line.text;
    const auto number_behind = [&text](std::string_view words) -> std::optional<int> {
        if (!text.starts_with(words)) return std::nullopt;
        const std::vector<double> numbers = numbers_of(text.substr(words.size()));
        if (numbers.size() != 1 || std::fabs(numbers[0]) > 1000) return std::nullopt;
        return static_cast<int>(numbers[0]);
    };
    if (text == "Check for loopback audio") readings.asked_us = line.at_us;
    if (text == "Analyze loopback audio") readings.analysed = true;
    if (text == "Lost lock") readings.lost_locks.push_back(line.at_us);
    if (const auto code = number_behind("Key ")) readings.keys.push_back({line.at_us, *code});
    if (const auto code = number_behind("Selftest exits with code ")) readings.exit_code = code;
}

} // namespace

std::vector<double> numbers_of(std::string_view text) {
    std::vector<double> numbers;
    const char* const end = text.data() + text.size();
    for (const char* at = text.data(); at < end;) {
        const bool begins = is_digit(*at) || (*at == '-' && at + 1 < end && at[1] != '-');
        double number = 0;
        const auto [rest, error] = begins ? std::from_chars(at, end, number)
                                          : std::from_chars_result{at, std::errc::invalid_argument};
        if (error == std::errc{}) numbers.push_back(std::isfinite(number) ? number : no_signal_db);
        at = std::max(rest, at + 1);
    }
    return numbers;
}

Readings readings_of(const Story& story) {
    Readings readings;
    for (const StatusText& line : story.console)
        for (const auto take : {take_settings, take_quiet, take_limits, take_tone, take_words})
            take(readings, line);
    return readings;
}

} // namespace k4sim
