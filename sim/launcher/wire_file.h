// The file of --vcd.
#pragma once

#include "sim/setup.h"

#include <string>

namespace k4sim {

class WireFile {
public:
    // Makes the file, or empties it, and writes the head of a dump of this board. Throws
    // UsageError. No path: no file.
    WireFile(const std::string& path, Board board);
    ~WireFile();
    WireFile(const WireFile&) = delete;
    WireFile& operator=(const WireFile&) = delete;

    int descriptor() const { return descriptor_; } // -1: no file

private:
    int descriptor_ = -1;
};

} // namespace k4sim
