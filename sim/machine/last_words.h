// What a program that dies still reports: put together without the heap, which may be what it
// died of, and without a lock that another of its threads may hold.
#pragma once

#include "sim/models/surroundings.h"

#include <array>
#include <cstdint>
#include <string_view>

namespace k4sim {

struct Death {
    int signal = 0;
    int thread = -1;             // as in "thread-start"; -1: none of the program's
    std::uintptr_t address = 0;  // of the instruction
    std::string_view file{};     // that was loaded there; empty: none
    std::uintptr_t offset = 0;   // of the instruction in it
    std::uintptr_t accessed = 0; // what a segmentation fault was about
};

// One report line. What is beyond its end is lost; a line with pixels fits.
class FixedLine {
public:
    FixedLine(Microseconds t, std::string_view source, std::string_view what);
    void set(std::string_view name, std::int64_t number);
    void set_address(std::string_view name, std::uintptr_t address);
    // Bytes that JSON wants escaped become "?".
    void set_text(std::string_view name, std::string_view text);
    void write_to(int descriptor);

private:
    void begin(std::string_view name);
    void add(std::string_view text);

    std::array<char, 17'000> text_;
    std::size_t size_ = 0;
};

} // namespace k4sim
