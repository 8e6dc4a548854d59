// The record of a run: what libk4sim.so reports, sorted into files.
#pragma once

#include "sim/launcher/beeps.h"
#include "sim/launcher/demand.h"
#include "sim/launcher/record_folder.h"
#include "sim/models/panel/oled.h"
#include "sim/models/surroundings.h"
#include "sim/story/story.h"

#include <map>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace k4sim {

class Json;

// What the report lines tell about a run, for the verdict.
struct Observation {
    std::string console; // all that the program wrote, both streams
    // Why the device library ended a run that could not go on, in words for the closing line;
    // empty of any other run.
    std::string hopeless;
    bool limit = false;
    bool stopped = false; // it came to its stop
    bool ended = false;   // the device library reported to the end
    // Where the program died of a signal, as far as the device library could tell.
    struct Death {
        std::int64_t thread = -1;
        std::string address;
        std::string place; // "file+0x12", or "file+0x12 (symbol)"
    };
    std::optional<Death> death;
    Microseconds duration_us = 0; // the latest time of an event
    using Text = StatusText;
    using Row = StatusRow;
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
// run that breaks off leaves what was seen until then. A folder that can't take everything
// ends nothing: the run is observed all the same.
class Record {
public:
    // As RecordFolder; it throws UsageError.
    explicit Record(const std::string& folder, const std::vector<Demand>& demands = {});

    // A line as libk4sim.so wrote it. One that is no report, such as the last of a program
    // that died while it wrote, is dropped.
    void line(const std::string& text);

    // A file of the record, from its name and content.
    void write_file(const std::string& name, const std::string& content);

    // From now on sound is kept in the folder wave/, also what the speaker sounds. A descriptor of
    // it for the device library; -1 when there is none, which gap() tells.
    int keep_sound();

    // What is missing of the record, such as "No space left on device"; empty: nothing.
    std::string gap() const;

    // No line comes any more: puts events.jsonl in the order of time, and what repeats itself
    // there once. While the run goes on the order is that of their coming, in which a picture is
    // half a second late.
    void tidy_events();

    // No line comes any more: writes what the speaker sounded, where sound is kept.
    void write_beeps();

    // All that was seen until now, as it can be told.
    Story story() const;

    // What a file of the record holds.
    std::string content(const std::string& name) const { return folder_.content(name); }
    const std::string& folder() const { return folder_.path(); }

    // Nothing more is written: marks a record that has no gap as complete.
    void finish();

    const Observation& observation() const { return observation_; }

    // What came of each demand, in their order.
    std::vector<DemandResult> demands() const;

private:
    void console(Microseconds t, std::string_view text);
    void note_strike(const std::string& source, const std::string& what);
    void note_end(const Json& event, const std::string& what);
    void note_power(const Json& event, const std::string& what);
    void note_on(const std::string& what, bool on);
    void look_at(const Picture& picture, Microseconds t);
    template <class See>
    void watch(See see);
    std::string keep(const Picture& picture, std::string_view event);

    RecordFolder folder_;
    std::optional<Beeps> beeps_; // while sound is kept
    std::string sound_gap_;
    Observation observation_;
    Story story_;
    std::vector<DemandWatch> demands_;
    std::vector<Microseconds> times_;          // of the lines of events.jsonl
    std::string planned_;                      // what of the setup came last
    std::map<std::string, std::string> armed_; // by the event that proves it: what of the setup
    int pictures_ = 0;
    ScreenReader reader_;
};

} // namespace k4sim
