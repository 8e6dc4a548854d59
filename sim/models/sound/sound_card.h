// The sound card: PCM devices, control elements, codec and, on the board aes, the digital
// line. Which card it is, the board tells:
//
//     aes      device 0: 6 playback and 2 capture channels, 8000 to 192000 Hz
//              device 1: 2 and 2 channels, 32000, 44100, 48000, 88200, 96000 Hz; the IEC958
//              elements. Boost and phantom power are switched by the CPLD.
//     others   device 0: 4 playback and 2 capture channels; the elements "MicBoost Playback
//              Switch" (on = boost off) and "Phantom Playback Switch"
//
// After power-on every volume is 0 and every switch off, boost and phantom are off.
#pragma once

#include "sim/models/sound/aesebu.h"
#include "sim/models/sound/card_controls.h"
#include "sim/models/sound/codec.h"
#include "sim/models/sound/controls.h"
#include "sim/models/sound/pcm.h"
#include "sim/models/surroundings.h"
#include "sim/setup.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string_view>
#include <vector>

namespace k4sim {

// What the two values of a mixer element become on their way to the codec.
struct MixerChannels {
    std::array<std::int32_t, analog_inputs> written{};
    std::array<std::int32_t, analog_inputs> skew{}; // steps too many
    std::array<bool, analog_inputs> inverted{};
    std::array<std::optional<std::int32_t>, analog_inputs> stuck{};
};

class SoundCard {
public:
    // `surroundings` must outlive the card. The seed tells the converters' noise and DC.
    SoundCard(Board board, std::uint64_t seed, Surroundings& surroundings);

    // Whether the card answers. Without: no PCM device and no control device can be
    // opened; what is open stays so.
    bool present() const { return present_; }

    // Null where the card has no such device.
    PcmDevice* pcm(unsigned device);
    unsigned pcm_count() const { return digital_ ? 2 : 1; }

    // All elements the card has from the factory; place and order never change.
    std::span<const ControlElement> controls() const { return controls_; }
    // Whether a fault took the element away: it is not listed and can't be found.
    bool control_missing(std::size_t index) const { return missing_[index]; }
    // The index of an element that is not missing.
    std::optional<std::size_t> find_control(std::string_view name, unsigned device) const;

    // Reads or writes an element: `values` has one number a value (a boolean is 0 or 1, a
    // byte 0 to 255) and at least controls()[index].count of them. Nothing is written when
    // one is out of range.
    ControlResult get(std::size_t index, std::span<std::int32_t> values) const;
    ControlResult put(std::size_t index, std::span<const std::int32_t> values);

    // The CPLD's switches (board aes): bits 0 and 1 boost, bits 4 and 5 phantom power of
    // input 1 and 2.
    void set_microphone_switches(std::uint8_t bits);

    // What the operator does. Each is an event, also without an effect. On boards without
    // aes() there is no digital socket.
    void plug_analog(bool plugged);
    void plug_digital(bool plugged);

    const Codec& codec() const { return codec_; }
    AesEbu* aes() { return aes_.get(); }

    // Its channels, clocks, control elements and digital line.
    void name_sites(FaultSites& sites);

    // Faults. The first three change how the operator's cables act.
    void set_analog_cable(AnalogCable cable); // what plug_analog(true) makes of it
    void set_analog_cable_lost(bool lost);    // plugging has no effect
    void set_digital_cable_lost(bool lost);
    void set(const CodecFaults& faults);
    void set(const AesEbuFaults& faults); // board aes
    void crackle();
    void set_present(bool present);            // open streams stay dead
    void set_busy(bool busy);                  // PCM device 0
    void set_parameters_refused(bool refused); // PCM device 0
    void set_controls_refused(bool refused);   // every write to a mixer element
    // "Line Out": all its elements.
    void set_control_missing(std::string_view simple_name, bool missing);
    // Of the digital line: capture stream and elements, playback stream and elements.
    void set_receiver_missing(bool missing) { set_digital_missing(true, missing); }
    void set_transmitter_missing(bool missing) { set_digital_missing(false, missing); }
    // The stream of device 0 breaks off every `period_us` while it runs; 0: no more.
    void set_interruptions(PcmStream::Direction direction, Microseconds period_us);

private:
    void change(const CodecSettings& settings);
    void report_switches(std::string_view what, const CodecSettings::Pair<bool>& before,
                         const CodecSettings::Pair<bool>& after);
    void report_control(const ControlElement& element, std::span<const std::int32_t> values);
    ControlResult writable(std::size_t index, std::span<const std::int32_t> values) const;
    void store(std::size_t index, std::span<const std::int32_t> values);
    void set_levels(std::size_t index);
    void name_clock(FaultSites& sites, std::string_view site, PcmDevice& device);
    void name_control(FaultSites& sites, std::size_t index);
    void name_mixer_channel(FaultSites& sites, std::size_t index, unsigned channel);
    void fit_analog_cable();
    void fit_digital_cable();
    void fit_streams();
    void set_digital_missing(bool receiver, bool missing);
    void interrupt_every(PcmStream::Direction direction, std::uint32_t order,
                         Microseconds period_us);

    Surroundings& surroundings_;
    std::vector<ControlRow> rows_;
    std::vector<ControlElement> controls_;
    std::vector<bool> missing_;
    std::vector<bool> refusing_;
    std::vector<MixerChannels> channels_; // of each row of the mixer
    Codec codec_;
    PcmDevice analog_;
    std::unique_ptr<AesEbu> aes_;
    std::unique_ptr<PcmDevice> digital_;
    bool present_ = true;
    bool receiver_missing_ = false;
    bool transmitter_missing_ = false;
    bool controls_refused_ = false;
    std::array<std::uint32_t, 2> interruption_orders_{}; // by direction, the latest
    bool analog_plugged_ = false;
    bool analog_lost_ = false;
    AnalogCable analog_shape_ = AnalogCable::straight;
    bool digital_plugged_ = false;
    bool digital_lost_ = false;
};

} // namespace k4sim
