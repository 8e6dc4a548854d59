// The wires of a K/4, where a logic analyser would touch them, and what it draws of them: a Value
// Change Dump (IEEE 1364).
#pragma once

#include "sim/setup.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>

namespace k4sim {

// One wire, or some that belong together.
enum class Wire : std::uint8_t {
    sda,          // I2C, on the boards that have it
    scl,          //
    panel_data,   // panel port of the other boards: the byte
    panel_select, // register of the CPLD behind 5: 0 OLED data, 1 command, 2 LED or key word ...
    panel_read,   // a byte comes from the panel
    panel_busy,   // a byte is on its way to it
    panel_reset,  //
    parallel_out, //
    parallel_in,  //
    tx1,          // serial adapter 1, 1 in idle
    rx1,          //
    tx2,          //
    rx2,          //
    lan,          // 1: the link is up
    wan,          //
    keys,         // contacts in the order of key_characters, 1: closed
    knob1,        // phase A is bit 0, B bit 1; a step changes one of them
    knob2,        //
    phantom,      // input 1 is bit 0
    boost,        //
    aes_lock,     //
    speaker       //
};

using Nanoseconds = std::int64_t; // since the device was switched on

class Wires {
public:
    virtual ~Wires() = default;

    // The levels, wire 0 in bit 0, from `when` on: now, a little later, or as long ago as
    // wires_memory_ns, for what is known only when it is over.
    virtual void set(Wire wire, std::uint32_t levels, Nanoseconds when) = 0;
};

// A serial frame of the slowest speed.
inline constexpr Nanoseconds wires_memory_ns = 500'000'000;

// One group of the dump.
struct WireGroup {
    Wire wire;
    std::string_view scope;
    std::string_view names; // of its wires from bit 0 on, with blanks between
    std::uint32_t idle = 0; // levels at first
    unsigned boards = 0;    // bit n: it is on Board n
};

// In the order of Wire.
std::span<const WireGroup> wire_groups();

bool is_on(Board board, const WireGroup& group);

// The sign of the wire in a dump; `bit` of the group.
char vcd_sign(Wire wire, unsigned bit);

// The unit of the dump's times. The I2C engine clocks at 1 MHz; elsewhere nothing is faster than a
// port access, and readers take each unit for a sample.
Nanoseconds vcd_unit_ns(Board board);

// What a dump begins with: the wires of the board, and their levels at first.
std::string vcd_header(Board board);

} // namespace k4sim
