// The record of a run: what libk4sim.so reports, sorted into files.
#pragma once

#include "sim/models/panel/oled.h"
#include "sim/models/surroundings.h"

#include <fstream>
#include <map>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace k4sim {

class Json;

// What the report lines tell about a run, for the verdict.
struct Observation {
    std::string console; // all that the program wrote, both streams
    bool deadlock = false;
    bool limit = false;
    Microseconds duration_us = 0; // time of the last event
    // The status rows of the last picture that showed a text, and since when each stood.
    struct Row {
        std::string label;
        std::string status;
        Microseconds since_us = 0;
    };
    std::vector<Row> rows;
    // What is on, as the models saw it last: "phantom power of input 1", "boost of input 2",
    // "tone", "display".
    std::set<std::string> on;
    // What of the setup came: "fault 0", "step 3".
    std::set<std::string> struck;

    // Of it, what a device must not be left with: all but the display.
    std::vector<std::string> unsafe() const;
};

// Writes events.jsonl, console.txt and oled-*.png into a folder while the run goes on; a
// run that breaks off leaves what was seen until then.
class Record {
public:
    // folder: made with its parents if need be; the files of an earlier record in it go.
    // Empty: nothing is written. Throws UsageError when it can't be written to.
    explicit Record(const std::string& folder);

    // A line as libk4sim.so wrote it. One that is no report, such as the last of a program
    // that died while it wrote, is dropped.
    void line(const std::string& text);

    // A file of the record, from its name and content.
    void write_file(const std::string& name, const std::string& content);

    // Throws UsageError when anything of the record could not be written.
    void check_written() const;

    const Observation& observation() const { return observation_; }
    const std::string& folder() const { return folder_; }

private:
    void console(std::string_view text);
    void note_strike(const std::string& source, const std::string& what);
    void note_power(const Json& event, const std::string& what);
    void note_on(const std::string& what, bool on);
    void look_at(const Picture& picture, Microseconds t);
    std::string keep(const Picture& picture, std::string_view event);

    std::string folder_;
    std::ofstream events_;
    std::ofstream console_;
    Observation observation_;
    std::string planned_;                      // what of the setup came last
    std::map<std::string, std::string> armed_; // by the event that proves it: what of the setup
    int pictures_ = 0;
    bool files_written_ = true;
};

} // namespace k4sim
