#include "sim/models/sound/sound_card.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <string>
#include <type_traits>

namespace k4sim {

namespace {

constexpr unsigned analog_rates[] = {8000,  11025, 16000, 22050, 32000,  44100,
                                     48000, 64000, 88200, 96000, 176400, 192000};
constexpr unsigned digital_rates[] = {32000, 44100, 48000, 88200, 96000};
constexpr unsigned aes_playback_channels = 6;
constexpr unsigned other_playback_channels = 4;

PcmLimits analog_limits(unsigned channels) { return {channels, analog_rates}; }
PcmLimits digital_limits() { return {2, digital_rates}; }

std::string_view cable_name(AnalogCable cable) {
    switch (cable) {
    case AnalogCable::unplugged:
        return "unplugged";
    case AnalogCable::straight:
        return "straight";
    case AnalogCable::left:
        return "left";
    case AnalogCable::right:
        return "right";
    case AnalogCable::crossed:
        return "crossed";
    case AnalogCable::phones:
        break;
    }
    return "phones";
}

constexpr struct {
    std::string_view way;
    std::int64_t ppm;
} clock_ways[] = {{"+100ppm", 100},  {"+1000ppm", 1000},  {"+2%", 20'000},
                  {"-100ppm", -100}, {"-1000ppm", -1000}, {"-2%", -20'000}};

constexpr std::string_view as_set = "that is what the test sets";

constexpr Expectation mixer_expectations[] = {
    {"mixer.headphone-*", Finding::escaped, "the loopback cable is not in the headphone socket"},
    {"mixer.line-out-*=highest", Finding::escaped, as_set},
    {"mixer.line-in-capture-switch.?=highest", Finding::escaped, as_set},
    {"mixer.line-in-level-*=refusing", Finding::escaped, as_set},
    {"mixer.line-in-level-*=lowest", Finding::escaped, as_set},
    {"mixer.line-in-level-*=+1", Finding::detected, ""},
    {"mixer.line-in-capture-volume.?=[-+]1", Finding::detected, "", ~on_aes},
    {"mixer.*.?=[-+]1", Finding::escaped, "a loop that is 2 dB too weak or too loud still is good"},
    {"mixer.micboost-*=lowest", Finding::escaped,
     "the boost is measured on only, as it is without the keyword nomicboost"},
    {"mixer.phantom-*=refusing", Finding::escaped, "levels are measured without phantom power"},
    {"mixer.phantom-*=lowest", Finding::escaped, "levels are measured without phantom power"},
};

constexpr Expectation control_expectations[] = {
    {"mixer.iec958-capture-rxp-lock-change=*", Finding::escaped, "the lock itself is looked at"},
};

// "Line Out Playback Volume" is mixer.line-out-playback-volume.
std::string site_of_control(std::string_view name) {
    std::string site = "mixer.";
    for (const char c : name)
        site += c == ' ' ? '-' : static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return site;
}

// The bits of a pair of inputs.
CodecSettings::Pair<bool> pair_of(unsigned bits) { return {(bits & 1) != 0, (bits & 2) != 0}; }
unsigned bits_of(const CodecSettings::Pair<bool>& pair) { return pair[0] | pair[1] << 1; }

} // namespace

SoundCard::SoundCard(Board board, std::uint64_t seed, Surroundings& surroundings)
    : surroundings_(surroundings), rows_(control_rows(board)), missing_(rows_.size()),
      refusing_(rows_.size()), channels_(rows_.size()), codec_(board, seed),
      analog_(0,
              analog_limits(board == Board::aes ? aes_playback_channels : other_playback_channels),
              analog_limits(analog_inputs), codec_, surroundings) {
    for (const ControlRow& row : rows_)
        controls_.push_back(row.element);
    for (std::size_t index = 0; index < rows_.size(); ++index)
        if (rows_[index].flag) channels_[index].written.fill(rows_[index].flag_inverted);
    if (board != Board::aes) return;
    aes_ = std::make_unique<AesEbu>(surroundings);
    digital_ =
        std::make_unique<PcmDevice>(1, digital_limits(), digital_limits(), *aes_, surroundings);
    digital_->playback().set_on_rate([this](unsigned rate_hz) { aes_->set_stream_rate(rate_hz); });
}

PcmDevice* SoundCard::pcm(unsigned device) {
    if (device == 0) return &analog_;
    return device == 1 ? digital_.get() : nullptr;
}

std::optional<std::size_t> SoundCard::find_control(std::string_view name, unsigned device) const {
    for (std::size_t index = 0; index < controls_.size(); ++index)
        if (!missing_[index] && controls_[index].name == name && controls_[index].device == device)
            return index;
    return std::nullopt;
}

ControlResult SoundCard::get(std::size_t index, std::span<std::int32_t> values) const {
    if (index >= rows_.size() || missing_[index]) return ControlResult::absent;
    const ControlRow& row = rows_[index];
    if (values.size() < row.element.count) return ControlResult::invalid;
    if (row.digital())
        row.read(*aes_, values);
    else
        std::ranges::copy(channels_[index].written, values.begin());
    return ControlResult::unchanged;
}

ControlResult SoundCard::put(std::size_t index, std::span<const std::int32_t> values) {
    const ControlResult verdict = writable(index, values);
    if (verdict != ControlResult::changed) return verdict;
    const ControlRow& row = rows_[index];
    values = values.first(row.element.count);
    std::array<std::int32_t, control_values_max> held{};
    get(index, held);
    if (!row.acts_on_write && std::ranges::equal(values, std::span(held).first(values.size())))
        return ControlResult::unchanged;
    store(index, values);
    report_control(row.element, values);
    return ControlResult::changed;
}

void SoundCard::set_microphone_switches(std::uint8_t bits) {
    CodecSettings settings = codec_.settings();
    settings.boost = pair_of(bits);
    settings.phantom = pair_of(bits >> 4);
    change(settings);
}

void SoundCard::plug_analog(bool plugged) {
    surroundings_.event("operator", plugged ? "plug" : "unplug", {{"cable", "analog"}});
    analog_plugged_ = plugged;
    fit_analog_cable();
}

void SoundCard::plug_digital(bool plugged) {
    surroundings_.event("operator", plugged ? "plug" : "unplug", {{"cable", "digital"}});
    digital_plugged_ = plugged;
    fit_digital_cable();
}

void SoundCard::set_analog_cable(AnalogCable cable) {
    analog_shape_ = cable;
    fit_analog_cable();
}

void SoundCard::set_analog_cable_lost(bool lost) {
    analog_lost_ = lost;
    fit_analog_cable();
}

void SoundCard::set_digital_cable_lost(bool lost) {
    digital_lost_ = lost;
    fit_digital_cable();
}

void SoundCard::set(const CodecFaults& faults) {
    analog_.run();
    codec_.set(faults);
}

void SoundCard::set(const AesEbuFaults& faults) { aes_->set(faults); }

void SoundCard::name_sites(FaultSites& sites) {
    codec_.name_sites(sites, [this] { analog_.run(); });
    name_clock(sites, "codec.clock", analog_);
    for (std::size_t index = 0; index < rows_.size(); ++index)
        name_control(sites, index);
    if (!aes_) return;
    aes_->name_sites(sites);
    name_clock(sites, "aes.clock", *digital_);
    sites.add("aes.cable", "open", [this](bool broken) { set_digital_cable_lost(broken); });
}

void SoundCard::name_clock(FaultSites& sites, std::string_view site, PcmDevice& device) {
    for (const auto& [way, ppm] : clock_ways)
        sites.add(site, way,
                  [&device, ppm](bool broken) { device.set_clock_error(broken ? ppm : 0); });
}

void SoundCard::name_control(FaultSites& sites, std::size_t index) {
    const ControlRow& row = rows_[index];
    if (row.digital())
        sites.about("AES/EBU", control_expectations);
    else
        sites.about("AnalogAudio", mixer_expectations);
    const std::string site = site_of_control(row.element.name);
    sites.add(site, "missing", [this, index](bool broken) { missing_[index] = broken; });
    if (row.element.access == ControlElement::Access::read_write)
        sites.add(site, "refusing", [this, index](bool broken) { refusing_[index] = broken; });
    if (!row.digital())
        for (unsigned channel = 0; channel < analog_inputs; ++channel)
            name_mixer_channel(sites, index, channel);
}

void SoundCard::name_mixer_channel(FaultSites& sites, std::size_t index, unsigned channel) {
    const ControlElement& element = rows_[index].element;
    const std::string site = site_of_control(element.name) + "." + std::to_string(channel + 1);
    MixerChannels& channels = channels_[index];
    const auto add = [&](std::string_view way, auto& what, auto value) {
        using What = std::remove_reference_t<decltype(what)>;
        sites.add(site, way, [this, index, &what, value](bool broken) {
            what = broken ? What(value) : What{};
            set_levels(index);
        });
    };
    add("lowest", channels.stuck[channel], element.minimum);
    add("highest", channels.stuck[channel], element.maximum);
    if (element.kind == ControlElement::Kind::boolean) {
        add("inverted", channels.inverted[channel], true);
    } else {
        add("-1", channels.skew[channel], -1);
        add("+1", channels.skew[channel], 1);
    }
}

void SoundCard::crackle() {
    analog_.run();
    codec_.crackle();
}

void SoundCard::set_present(bool present) {
    present_ = present;
    fit_streams();
}

void SoundCard::set_busy(bool busy) {
    analog_.playback().set_busy(busy);
    analog_.capture().set_busy(busy);
}

void SoundCard::set_parameters_refused(bool refused) {
    analog_.playback().set_parameters_refused(refused);
    analog_.capture().set_parameters_refused(refused);
}

void SoundCard::set_controls_refused(bool refused) { controls_refused_ = refused; }

void SoundCard::set_control_missing(std::string_view name, bool missing) {
    for (std::size_t index = 0; index < rows_.size(); ++index)
        if (!rows_[index].digital() && simple_name(controls_[index].name) == name)
            missing_[index] = missing;
}

void SoundCard::set_interruptions(PcmStream::Direction direction, Microseconds period_us) {
    const std::uint32_t order = ++interruption_orders_[static_cast<std::size_t>(direction)];
    if (period_us > 0) interrupt_every(direction, order, period_us);
}

void SoundCard::change(const CodecSettings& settings) {
    analog_.run();
    const CodecSettings before = codec_.settings();
    codec_.set(settings);
    report_switches("boost", before.boost, settings.boost);
    report_switches("phantom", before.phantom, settings.phantom);
    surroundings_.wire(Wire::boost, bits_of(settings.boost));
    surroundings_.wire(Wire::phantom, bits_of(settings.phantom));
}

void SoundCard::report_switches(std::string_view what, const CodecSettings::Pair<bool>& before,
                                const CodecSettings::Pair<bool>& after) {
    for (unsigned input = 0; input < analog_inputs; ++input)
        if (before[input] != after[input])
            surroundings_.event("sound", what,
                                {{"input", std::int64_t{input + 1}}, {"on", after[input]}});
}

// The values without the zeros at the end.
void SoundCard::report_control(const ControlElement& element,
                               std::span<const std::int32_t> values) {
    std::string text = std::to_string(values[0]);
    while (values.size() > 1 && values.back() == 0)
        values = values.first(values.size() - 1);
    for (const std::int32_t value : values.subspan(1))
        text.append(" ").append(std::to_string(value));
    surroundings_.event("sound", "control",
                        {{"element", element.name}, {"values", std::string_view(text)}});
}

// changed when the element can take the values.
ControlResult SoundCard::writable(std::size_t index, std::span<const std::int32_t> values) const {
    if (index >= rows_.size() || missing_[index]) return ControlResult::absent;
    const ControlRow& row = rows_[index];
    const ControlElement& element = row.element;
    if (element.access != ControlElement::Access::read_write) return ControlResult::denied;
    if (values.size() < element.count) return ControlResult::invalid;
    const bool fits = std::ranges::all_of(values.first(element.count), [&](std::int32_t value) {
        return element.minimum <= value && value <= element.maximum;
    });
    if (!fits) return ControlResult::invalid;
    const bool refused = row.digital() ? aes_->faults().transmitter_refuses && !row.of_receiver()
                                       : controls_refused_;
    return refused || refusing_[index] ? ControlResult::refused : ControlResult::changed;
}

void SoundCard::store(std::size_t index, std::span<const std::int32_t> values) {
    const ControlRow& row = rows_[index];
    if (row.digital()) {
        digital_->run();
        row.write(*aes_, values);
        return;
    }
    std::ranges::copy(values.first(analog_inputs), channels_[index].written.begin());
    set_levels(index);
}

void SoundCard::set_levels(std::size_t index) {
    const ControlRow& row = rows_[index];
    const MixerChannels& channels = channels_[index];
    CodecSettings settings = codec_.settings();
    for (unsigned input = 0; input < analog_inputs; ++input) {
        const std::int32_t value = channels.stuck[input].value_or(
            std::clamp(channels.written[input] + channels.skew[input], row.element.minimum,
                       row.element.maximum));
        if (row.level)
            (settings.*row.level)[input] = value;
        else
            (settings.*row.flag)[input] =
                ((value != 0) != channels.inverted[input]) != row.flag_inverted;
    }
    change(settings);
}

void SoundCard::fit_analog_cable() {
    const AnalogCable cable =
        analog_plugged_ && !analog_lost_ ? analog_shape_ : AnalogCable::unplugged;
    if (cable == codec_.cable()) return;
    analog_.run();
    codec_.set_cable(cable);
    surroundings_.event("sound", "analog-cable", {{"fitted", cable_name(cable)}});
}

void SoundCard::fit_digital_cable() {
    if (!aes_) return;
    const bool plugged = digital_plugged_ && !digital_lost_;
    if (plugged == aes_->cable()) return;
    digital_->run();
    aes_->set_cable(plugged);
    surroundings_.event("sound", "digital-cable", {{"plugged", plugged}});
}

void SoundCard::fit_streams() {
    analog_.playback().set_present(present_);
    analog_.capture().set_present(present_);
    if (!digital_) return;
    digital_->playback().set_present(present_ && !transmitter_missing_);
    digital_->capture().set_present(present_ && !receiver_missing_);
}

void SoundCard::set_digital_missing(bool receiver, bool missing) {
    (receiver ? receiver_missing_ : transmitter_missing_) = missing;
    fit_streams();
    for (std::size_t index = 0; index < rows_.size(); ++index)
        if (rows_[index].digital() && rows_[index].of_receiver() == receiver)
            missing_[index] = missing;
}

void SoundCard::interrupt_every(PcmStream::Direction direction, std::uint32_t order,
                                Microseconds period_us) {
    surroundings_.at(surroundings_.now() + period_us, [this, direction, order, period_us] {
        if (order != interruption_orders_[static_cast<std::size_t>(direction)]) return;
        analog_.stream(direction).interrupt();
        interrupt_every(direction, order, period_us);
    });
}

} // namespace k4sim
