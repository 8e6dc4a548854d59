// The PC speaker behind the console device.
#pragma once

#include "sim/models/joints/fault_sites.h"
#include "sim/models/surroundings.h"

#include <cstdint>
#include <functional>
#include <utility>

namespace k4sim {

// Clock of the timer that drives the speaker, in Hz.
inline constexpr std::uint32_t speaker_clock_hz = 1193180;

class Speaker {
public:
    explicit Speaker(Surroundings& surroundings) : surroundings_(surroundings) {}
    Speaker(const Speaker&) = delete;
    Speaker& operator=(const Speaker&) = delete;

    // Whether the console has a speaker. An absent one makes no sound; whoever plays the
    // console device refuses to open it then.
    void set_present(bool present);
    bool present() const { return present_; }

    // KIOCSOUND: a tone until further notice, of speaker_clock_hz / divider; divider 0:
    // silence. Events "sound" (divider, hz) and, when a sound ends, "silence".
    void set_divider(std::uint32_t divider);

    // KDMKTONE: a tone that ends by itself after `length_ms`. With a divider or a length
    // of 0: silence. Event "tone" (divider, hz, ms).
    void tone(std::uint32_t divider, std::uint32_t length_ms);

    // Called whenever a sound begins or ends, also when one tone follows another.
    void set_on_change(std::function<void()> observer) { on_change_ = std::move(observer); }

    // Its device, coil, timer and clock.
    void name_sites(FaultSites& sites);

    bool sounding() const { return divider_ != 0; }
    // Rounded; 0 in silence.
    std::uint32_t frequency_hz() const;
    std::uint32_t divider() const { return divider_; }

private:
    void begin(std::uint32_t divider);
    void silence();
    void swing(std::int64_t half_waves);

    Surroundings& surroundings_;
    bool present_ = true;
    bool coil_open_ = false;
    bool timer_dead_ = false; // so that a tone does not end by itself
    bool flat_ = false;       // an octave
    bool audible() const { return present_ && !coil_open_; }
    std::uint32_t divider_ = 0;
    std::uint64_t tones_ = 0;
    Microseconds begun_ = 0;
    std::function<void()> on_change_;
};

} // namespace k4sim
