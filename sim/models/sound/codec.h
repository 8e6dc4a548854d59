// The analog side of the sound card: what the levels and switches of the mixer do to the
// signal, the sockets and the loopback cable between them, and the converters' faults.
//
// Levels in dB, by step:
//     Line Out, Headphone   0..127   step - 127; step 0 is silence. 127 is 0 dB (+4 dBu)
//     Line In               0..63    aes: 24 - step (more is less); the others, 0..31:
//                                    -3 * step
//     Line In Level         0..15    3 * step
//     boost                 on +17.26, off 0
//     phantom power         on -2.5 (it loads the line output that is plugged in), off 0
// so the loop has 0 dB with boost off and Line In 24 (aes) or 0, and -6.74 dB with boost on
// and Line In 48 (aes) or 8. The converter adds noise of -90 dB RMS and a DC of at most -62
// dB, both told by the seed, and clips at full scale.
//
// Not modelled: noise of the playback converter, the analog outputs 3 to 6.
#pragma once

#include "sim/models/sound/channel_joint.h"
#include "sim/models/sound/dip.h"
#include "sim/models/sound/pcm.h"
#include "sim/setup.h"

#include <array>
#include <cstdint>
#include <functional>

namespace k4sim {

inline constexpr unsigned analog_inputs = 2;
inline constexpr unsigned outputs_max = 6;

// How the loopback cable is fitted.
enum class AnalogCable {
    unplugged,
    straight, // line out 1 to input 1, 2 to 2
    left,     // only 1 to 1
    right,    // only 2 to 2
    crossed,  // 1 to 2, 2 to 1
    phones    // from the headphone socket instead of the line outputs
};

// The settings that the mixer (and on the board aes the CPLD) makes, by channel.
struct CodecSettings {
    template <class T>
    using Pair = std::array<T, analog_inputs>;
    Pair<int> line_out{}, headphone{}, line_in{}, line_in_level{};
    Pair<bool> line_out_on{}, headphone_on{}, line_in_on{}, boost{}, phantom{};
};

// What can be broken on the way. Levels in dB re full scale.
struct CodecFaults {
    double gain_db = 0;      // more (or less) than it should be
    double left_db = 0;      // the same of input 1 alone
    double right_db = 0;     // of input 2
    int droop_hz = 0;        // 0: none; a dip around this frequency
    double hum_db = -1000;   // peak of a 50 Hz hum at both inputs; -1000: none
    double dc_db = -1000;    // DC at both inputs
    double noise_db = -1000; // RMS of more noise at both inputs
    int dead_input = 0;      // 1 or 2: this input hears nothing of its socket
};

class Codec final : public Line {
public:
    // Frames from a playback converter to a capture converter through the cable.
    static constexpr unsigned latency_frames = 40;

    Codec(Board board, std::uint64_t seed);

    void carry(std::int64_t first, unsigned rate_hz, std::span<const Frame> sent,
               std::span<Frame> arriving) override;

    // Changes count from the next carried frame on.
    const CodecSettings& settings() const { return settings_; }
    void set(const CodecSettings& settings);
    AnalogCable cable() const { return cable_; }
    void set_cable(AnalogCable cable);
    const CodecFaults& faults() const { return faults_; }
    void set(const CodecFaults& faults);
    // Its channels. `changing` is called before one of them changes.
    void name_sites(FaultSites& sites, std::function<void()> changing);
    // The next 480 frames crackle at -20 dB.
    void crackle();

private:
    // What a frame is multiplied with on its way to one input.
    struct Path {
        int source = 0; // output channel
        double gain = 0;
    };

    void update();
    int source_of(unsigned input) const;
    double loop_gain(unsigned input) const;
    double output_gain(unsigned channel) const;
    double input_gain_db(unsigned input) const;

    void through_cable(std::int64_t first, unsigned rate_hz, std::span<const Frame> sent,
                       std::span<Frame> arriving);
    void droop(unsigned rate_hz, std::span<Frame> frames);
    void add_converter(std::span<Frame> frames);
    void add_hum(std::int64_t first, unsigned rate_hz, std::span<Frame> frames) const;
    void add_crackle(std::span<Frame> frames);
    std::int32_t random();

    const bool aes_;
    CodecSettings settings_;
    AnalogCable cable_ = AnalogCable::unplugged;
    CodecFaults faults_;
    std::uint32_t random_;
    Frame converter_dc_;
    // Derived from the settings, the cable and the faults.
    std::array<Path, analog_inputs> paths_;
    Frame dc_;
    std::int32_t noise_ = 0; // peak
    // The signal under way.
    std::array<Frame, latency_frames> transit_{};
    unsigned transit_next_ = 0;
    std::int64_t next_frame_ = 0;
    std::array<Dip, analog_inputs> dips_;
    unsigned crackle_frames_left_ = 0;
    std::array<ChannelJoint, outputs_max> outputs_; // the first two can be heard
    std::array<ChannelJoint, analog_inputs> inputs_;
    bool outputs_swapped_ = false;
    bool inputs_swapped_ = false;
};

} // namespace k4sim
