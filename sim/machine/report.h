// The record of a run as it leaves the process: one JSON object a line.
#pragma once

#include "sim/models/surroundings.h"

#include <initializer_list>
#include <string>
#include <string_view>

namespace k4sim {

// {"t":..,"source":"..","event":".."} and the fields after them. Text is taken as
// Latin-1, so that every byte the program writes has a place in it.
std::string report_line(Microseconds t, std::string_view source, std::string_view what,
                        std::initializer_list<Field> fields);

class Report {
public:
    // Lines go to this descriptor from now on; -1: nowhere.
    void open(int descriptor);

    // Closes the descriptor.
    void close();

    bool is_open() const { return descriptor_ >= 0; }
    int descriptor() const { return descriptor_; }

    // Writes the whole line, and the line end. A reader that has gone is no error of the
    // program's: then nothing is written any more.
    void write(std::string_view line);

private:
    int descriptor_ = -1;
};

// Writes all of it by the system's own call. False when that fails.
bool write_fully(int descriptor, std::string_view bytes);

} // namespace k4sim
