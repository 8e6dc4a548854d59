// What a scenario demands of a run: something to be seen in time, or never.
#pragma once

#include "sim/models/surroundings.h"
#include "sim/operator/screen_reader.h"

#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace k4sim {

class Json;

// Something that can be seen in a record.
struct Sight {
    enum class Kind {
        screen,  // a status row, "LABEL STATUS", has `text` in it
        console, // what the program writes has `text` in it
        event    // of source `text` and one of `names`, whose members match
    };
    Kind kind = Kind::event;
    std::string text;
    std::vector<std::string> names;
    std::map<std::string, std::string> members; // patterns with *, ? and [ by name
    std::string words;                          // for people: "screen "OK""
};

struct Demand {
    std::string place; // "FILE:LINE"
    Sight sight;
    bool never = false;
    std::optional<Sight> after; // from the first time that this is seen
    Microseconds after_us = 0;  // else from then on
    std::optional<Microseconds> within_us;

    // "never screen "OK" within 30 s".
    std::string words() const;
};

// A demand as it came out.
struct DemandResult {
    std::string place;
    std::string words; // "screen "OK" within 30 s"
    bool met = false;
    Microseconds at_us = 0; // when that was certain
    std::string failure;    // "not seen by 30 s"; empty: met
};

// When a sight was seen.
class Sightings {
public:
    explicit Sightings(Sight sight) : sight_(std::move(sight)) {}

    void see_event(Microseconds t, const std::string& source, const std::string& name,
                   const Json& event);
    // All that was written until now; before `t` it was `former` bytes.
    void see_console(Microseconds t, const std::string& console, std::size_t former);
    void see_screen(Microseconds t, const std::vector<ScreenRow>& rows);

    // The first time from then on at which it is to be seen; what stands on the screen is so
    // until another picture comes.
    std::optional<Microseconds> first_from(Microseconds t) const;

    const std::string& words() const { return sight_.words; }

private:
    bool shows(const std::vector<ScreenRow>& rows) const;

    Sight sight_;
    std::vector<std::pair<Microseconds, Microseconds>> spans_; // from, to
};

// Watches a demand. The lines of a record come in any order of time.
class DemandWatch {
public:
    explicit DemandWatch(const Demand& demand);

    // Calls `see` with each of the sights.
    template <class See>
    void each(See see) {
        see(sight_);
        if (after_) see(*after_);
    }

    // end_us: of the run.
    DemandResult result(Microseconds end_us) const;

private:
    Demand demand_;
    Sightings sight_;
    std::optional<Sightings> after_;
};

} // namespace k4sim
