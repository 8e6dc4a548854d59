// What a terminal is set to, as far as it matters to what is on its line.
#pragma once

#include <cstddef>

namespace k4sim {

struct LineSettings {
    unsigned baud = 0;
    bool canonical = true;
    bool answers = true; // the line discipline may send by itself: echo, flow control
    std::size_t read_minimum = 1;
};

// Of an open terminal; of any other file as above.
LineSettings line_settings(int descriptor);

// Of the request of ioctl: whether it changes the settings, waits until all is sent before it
// does, and drops what has arrived.
bool is_change_of_settings(unsigned long request);
bool waits_for_output(unsigned long request);
bool flushes_input(unsigned long request);

} // namespace k4sim
