// One run of the shipped program on the virtual K/4, and what it left behind.
#pragma once

#include "support/scratch_folder.h"

#include <array>
#include <cstdint>
#include <filesystem>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <string>
#include <string_view>
#include <vector>

namespace k4test {

constexpr int picture_width = 256;
constexpr int picture_height = 64;

// Grey levels 0..15, row by row.
using Picture = std::array<std::uint8_t, picture_width * picture_height>;

struct CommandResult {
    int status = -1; // exit status, or 128 + signal
    std::string out;
    std::string error;
};

// Runs a command without a shell, its environment that of the test.
CommandResult run_command(const std::vector<std::string>& arguments);

struct RunPlan {
    std::vector<std::string> keywords = {"run"};
    std::string board = "aes";
    std::string scenario;            // TOML steps; empty: none
    bool automatic_operator = false; // else nobody is there but the scenario
    std::vector<std::string> faults;
    std::string schedule = "fair";
    int limit_s = 600;
    std::uint64_t seed = 1;
};

struct RunResult {
    int status = -1;
    std::string console; // as recorded
    std::string live;    // as it came out of the launcher
    std::string error;   // what the launcher and the program wrote to standard error
    std::string events_text;
    std::vector<nlohmann::json> events;
    std::vector<Picture> pictures; // in the order in which they stood on the glass
    Picture final_picture{};       // on the glass when the program ended
    nlohmann::json report;

    bool console_has(std::string_view line) const;
    // Without a name, all events of the source.
    int count_events(std::string_view source, std::string_view what = "") const;
    // Virtual time of the last event, in seconds.
    double seconds() const;
    std::string verdict() const;
    // The last picture that was not all dark; fails the test when there is none.
    const Picture& last_lit() const;
};

RunResult run_on_virtual_k4(const RunPlan& plan);

constexpr int aborted_status = 250; // -6 as the shell sees it
constexpr int limit_status = 124;

// A scenario of one action a second, from the third second on: the panel is up and lit by then.
std::string one_a_second(const std::vector<std::string>& actions);

inline constexpr const char* row_labels[] = {"ParallelPrt", "Ethernet",    "Frontpanel",
                                             "USB Ports",   "AnalogAudio", "AES/EBU"};

// Whether display row `row` (0..5) of the picture is exactly this label and status.
testing::AssertionResult row_shows(const Picture& picture, int row, std::string_view label,
                                   std::string_view status);

// On any picture of the run.
bool row_ever_shows(const RunResult& run, int row, std::string_view label, std::string_view status);

bool all_of_grey(const Picture& picture, int grey);

// The picture as text, for the message of a failing test.
std::string as_text(const Picture& picture);

} // namespace k4test
