// What one run of the virtual K/4 is set up with. The launcher fills it from its
// command line and a scenario file, and hands it to libk4sim.so as text in a
// descriptor (setup_process.h); a unit test fills it by hand.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace k4sim {

enum class Board { aes, plain, i2c, engine, none };
enum class OperatorKind { automatic, human, none };
// Which thread goes on where several can: who was ready first, or by the seed.
enum class Schedule { fair, random };

// A part of the device that can be this machine's instead of the virtual one.
enum class Role { serial, network, sound, speaker, ports };

struct RealPart {
    Role role = Role::serial;
    std::vector<std::string> names; // of its devices on this machine; empty: the K/4's own
};

// A fault of the fault list, for example {"key-held", "7", 0}.
struct FaultSetting {
    std::string name;
    std::string value;      // empty where the fault takes none
    std::int64_t at_us = 0; // 0: from the start
    bool cleared = false;   // by a step: it is over
};

// One step of a scenario: when it is due, and what is done.
struct ScenarioStep {
    enum class Trigger {
        time,    // at_us after the start of the run
        console, // a console line that contains `text`
        screen,  // a row of the OLED that contains `text`
        beep     // a tone of the speaker
    };
    Trigger trigger = Trigger::time;
    std::int64_t at_us = 0; // Trigger::time: since the start; else: delay after the trigger
    std::string text;       // what to look for (console, screen)
    std::string action;     // "press 7", "hold E", "release E", "turn 1 -3", "plug analog",
                            // "unplug digital", "fault NAME[=VALUE]", "clear NAME[=VALUE]"
};

struct Setup {
    Board board = Board::aes;
    OperatorKind operator_kind = OperatorKind::none;
    std::uint64_t seed = 1;
    Schedule schedule = Schedule::fair;
    std::optional<double> pace;            // empty: as fast as it can (max)
    std::int64_t limit_us = 3'600'000'000; // end of the run, status 124
    std::optional<std::int64_t> linger_us; // end of the run after the operator left, status 124
    std::int64_t stall_us = 20'000'000;    // of real time without virtual time: the end, status 125
    int report_fd = -1;                    // where the report lines go; -1: nowhere
    int wires_fd = -1;                     // the dump of the wires; -1: none
    int wave_fd = -1;                      // the folder for sound; -1: none
    int control_fd = -1;                   // where somebody who looks on is heard; -1: nobody is
    std::vector<FaultSetting> faults;
    std::vector<ScenarioStep> steps;
    std::optional<ScenarioStep> stop; // the run ends there; without an action
    bool gdb = false;                 // or stands still there for a debugger
    std::vector<RealPart> real;       // each role once; with any of them time is real, too
};

// Null when that part is virtual.
const RealPart* real_part(const Setup& setup, Role role);

// The text form: one "key value..." a line, strings escaped. decode(encode(s)) == s.
std::string encode(const Setup& setup);

// Empty when the text is not well-formed.
std::optional<Setup> decode(std::string_view text);

} // namespace k4sim
