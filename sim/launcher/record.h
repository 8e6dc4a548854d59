// The record of a run: what libk4sim.so reports, sorted into files.
#pragma once

#include "sim/models/surroundings.h"

#include <fstream>
#include <string>
#include <string_view>
#include <vector>

namespace k4sim {

// What the report lines tell about a run, for the verdict.
struct Observation {
    std::string console; // all that the program wrote, both streams
    bool deadlock = false;
    bool limit = false;
    bool ended = false;           // the program came to its regular end
    Microseconds duration_us = 0; // time of the last event
    // The status rows of the last picture that showed a text, and since when each stood.
    struct Row {
        std::string label;
        std::string status;
        Microseconds since_us = 0;
    };
    std::vector<Row> rows;
};

// Writes events.jsonl, console.txt and oled-*.png into a folder while the run goes on; a
// run that breaks off leaves what was seen until then.
class Record {
public:
    // folder: made with its parents if need be; the files of an earlier record in it go.
    // Empty: nothing is written. Throws UsageError when it can't be written to.
    explicit Record(const std::string& folder);

    // A line as libk4sim.so wrote it.
    void line(const std::string& text);

    const Observation& observation() const { return observation_; }
    const std::string& folder() const { return folder_; }

private:
    void console(std::string_view text);
    std::string picture(const std::string& pixels, Microseconds t, const std::string& name);

    std::string folder_;
    std::ofstream events_;
    std::ofstream console_;
    Observation observation_;
    int pictures_ = 0;
};

} // namespace k4sim
