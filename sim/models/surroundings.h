// What a model may ask of the world around it: the time, a call at a later time,
// and a place to say what happened. Models make no operating-system call.
#pragma once

#include "sim/models/wires.h"

#include <cstdint>
#include <functional>
#include <initializer_list>
#include <string_view>
#include <variant>

namespace k4sim {

// Virtual time in microseconds since the device was switched on.
using Microseconds = std::int64_t;

inline constexpr Microseconds us_per_second = 1'000'000;
inline constexpr Nanoseconds ns_per_us = 1000;

// One named value of an event.
struct Field {
    std::string_view name;
    std::variant<std::int64_t, bool, std::string_view> value;
};

class SoundListener;

class Surroundings {
public:
    virtual ~Surroundings() = default;

    virtual Microseconds now() const = 0;

    // Calls `action` once when virtual time reaches `when` (at once, in the next
    // scheduling step, when that has passed). Actions of the same time run in the
    // order in which they were handed over. An action must not block.
    virtual void at(Microseconds when, std::function<void()> action) = 0;

    // Records that `source` (such as "panel", "speaker", "cpld") saw `what`.
    // It becomes one line of events.jsonl.
    virtual void event(std::string_view source, std::string_view what,
                       std::initializer_list<Field> fields = {}) = 0;

    // Who looks at the wires; null: nobody, and nothing need be told.
    virtual Wires* wires() { return nullptr; }

    // Who listens at the streams of the sound card; null: nobody.
    virtual SoundListener* sound_listener() { return nullptr; }

    // These are the levels from now on, or from a later time.
    void wire(Wire wire, std::uint32_t levels) { this->wire(wire, levels, now()); }
    void wire(Wire wire, std::uint32_t levels, Microseconds when) {
        if (Wires* const watched = wires()) watched->set(wire, levels, when * ns_per_us);
    }
};

} // namespace k4sim
