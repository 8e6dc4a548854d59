// One channel on its way to or from a converter, and what may be wrong with it.
#pragma once

#include "sim/models/joints/fault_sites.h"
#include "sim/models/sound/pcm.h"

#include <cstdint>
#include <functional>
#include <span>
#include <string>

namespace k4sim {

// Levels in dB re full scale.
struct ChannelFaults {
    static constexpr double none_db = -1000;

    double gain_db = 0;
    double offset_db = none_db;
    double noise_db = none_db; // RMS
    double hum_db = none_db;   // peak, of 50 Hz
    double clip_db = 0;        // louder than that it does not get
    bool inverted = false;
    bool open = false;
    bool slipped = false; // a sample late
};

class ChannelJoint {
public:
    // `changing` is called before something breaks or is mended; empty: nobody.
    void set_on_change(std::function<void()> changing) { changing_ = std::move(changing); }

    // What becomes of the frames' left or right samples, the first of which has this number.
    void carry(std::span<Frame> frames, std::int32_t Frame::*side, std::int64_t first,
               unsigned rate_hz) {
        if (broken_ > 0) spoil(frames, side, first, rate_hz);
    }

    // Sites "NAME.gain", "NAME.noise" ...
    void name_sites(FaultSites& sites, const std::string& name);
    // Of a channel that nothing listens to: that it is open, or weak.
    void name_unheard(FaultSites& sites, const std::string& name);

private:
    template <class T>
    void name_site(FaultSites& sites, const std::string& site, std::string_view way,
                   T ChannelFaults::*what, T value);
    void spoil(std::span<Frame> frames, std::int32_t Frame::*side, std::int64_t first,
               unsigned rate_hz);

    ChannelFaults faults_;
    int broken_ = 0; // of them
    std::int32_t former_ = 0;
    std::uint32_t random_ = 1;
    std::function<void()> changing_;
};

} // namespace k4sim
