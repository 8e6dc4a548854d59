// What the console of the self-test tells in numbers.
#pragma once

#include "sim/story/story.h"

#include <array>
#include <optional>
#include <string_view>
#include <vector>

namespace k4sim {

// What silence must not be above.
inline constexpr double noise_limit_db = -78, dc_limit_db = -45;

// Levels in dB re digital full scale.
struct Quiet { // of a cycle without a cable
    Microseconds at_us = 0;
    std::array<double, 2> rms{}, dc{}; // of inputs 1 and 2
};

struct Tone { // as it came back over the cable
    Microseconds at_us = 0;
    int sweep = 0; // from 0 on
    double hertz = 0;
    std::array<double, 2> rms{};
};

struct Pressed {
    Microseconds at_us = 0;
    int code = 0;
};

struct Readings {
    bool keypad = true, analog = true; // by the keywords; true where the console does not tell
    std::vector<Pressed> keys;
    std::vector<Quiet> quiet;
    std::vector<Tone> tones;
    std::optional<Microseconds> asked_us; // for the cable of the loop: the silence was good
    std::optional<double> nominal_swing;  // of the loop
    bool analysed = false;                // the loop: its tone was there
    double lowest = 0, highest = 0;       // of a good tone; of the last tones that were told
    std::vector<Microseconds> lost_locks;
    std::optional<int> exit_code; // as the closing line tells
};

Readings readings_of(const Story& story);

// All numbers in a text, in their order; what is infinite is -200.
std::vector<double> numbers_of(std::string_view text);

} // namespace k4sim
