// A run as it can be told: what the device showed and said, and what was done to it.
#pragma once

#include "sim/models/surroundings.h"

#include <string>
#include <vector>

namespace k4sim {

class Json;

// A text, and when it came.
struct StatusText {
    Microseconds at_us = 0;
    std::string text;
};

// A status row and every text that stood there; at least one, which may be empty.
struct StatusRow {
    std::string label;
    std::vector<StatusText> texts;

    const std::string& status() const { return texts.back().text; }
};

// Something that happened at one moment, in words.
struct Mark {
    enum class Kind { key, cable, fault, beep, parallel };

    Microseconds at_us = 0;
    Kind kind = Kind::key;
    std::string words;
};

// What the AES receiver is locked to from then on; 0: to nothing.
struct AesLock {
    Microseconds at_us = 0;
    int rate_hz = 0;
};

// A picture of the OLED from then on, and the file that it is kept in.
struct Glass {
    Microseconds at_us = 0;
    std::string file;
};

// Where no time is known, as on the saved console of a real device, each line of the console
// counts for a second.
class Story {
public:
    bool timed = true;
    Microseconds end_us = 0; // of the last thing that happened
    std::vector<StatusRow> rows;
    std::vector<StatusText> console; // whole lines, without their ends
    std::vector<Mark> marks;
    std::vector<AesLock> locks;
    std::vector<Glass> pictures;

    // An event as in events.jsonl, with its time; those that tell nothing here are passed over.
    void see(Microseconds t, const Json& event);

    // Characters of the console, of which a line may come in pieces.
    void hear(Microseconds t, const std::string& text);

    // No more comes: puts everything in the order of time, and ends a line that has no end.
    void close();

    // The row of that name; null: it was never seen.
    const StatusRow* row(const std::string& label) const;

private:
    StatusText line_; // that has not ended
};

} // namespace k4sim
