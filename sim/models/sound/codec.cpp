#include "sim/models/sound/codec.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <string>
#include <utility>

namespace k4sim {

namespace {

constexpr double boost_db = 17.26;
constexpr double phantom_db = -2.5;
constexpr double output_step_db = 1;
constexpr int output_nominal = 127;
constexpr double line_in_level_step_db = 3;
constexpr double silence_db = -1000;

struct LineInScale {
    double at_0_db;
    double step_db;
};
constexpr LineInScale aes_line_in{24, -1};
constexpr LineInScale other_line_in{0, -3};

constexpr double converter_noise_db = -90;
constexpr double converter_dc_min_db = -70;
constexpr double converter_dc_max_db = -62;
constexpr double crackle_db = -20;
constexpr unsigned crackle_frames = 480;
constexpr double hum_hz = 50;

constexpr double gain_max = 2000;
constexpr double gain_steps = 1 << 20; // of a factor of one

double factor(double level_db) { return std::pow(10.0, level_db / 20.0); }

std::int32_t amplitude(double level_db) {
    return static_cast<std::int32_t>(std::lround(factor(level_db) * full_scale));
}

// The peak of even noise of that RMS.
std::int32_t noise_peak(double rms) {
    return static_cast<std::int32_t>(std::lround(rms * std::numbers::sqrt3 * full_scale));
}

template <class Number>
std::int32_t clip(Number value) {
    return static_cast<std::int32_t>(std::clamp<Number>(value, -full_scale, full_scale - 1));
}

// Of what is within some times full scale, so that a sum is within 32 bits.
inline void add(Frame& frame, std::int32_t left, std::int32_t right) {
    frame = {clip(frame.left + left), clip(frame.right + right)};
}

// Rounded down, as a shift does. What is not clipped is exact: a sample and a gain have fewer bits
// than the mantissa, and the conversion cuts off what is not negative.
std::int32_t amplified(std::int32_t sample, double gain) {
    constexpr double lowest = -full_scale, highest = full_scale - 1;
    const double level = std::max(std::min(sample * gain, highest), lowest);
    return static_cast<std::int32_t>(level - lowest) - full_scale;
}

void swap_sides(std::span<Frame> frames) {
    for (Frame& frame : frames)
        std::swap(frame.left, frame.right);
}

constexpr Expectation channel_expectations[] = {
    {"codec.out[3-6].*", Finding::escaped, "the loopback cable has the first two outputs only"},
    {"codec.*.polarity=*", Finding::escaped, "levels are measured, which have no sign"},
    {"codec.*puts=swapped", Finding::escaped, "all channels play the same tone"},
    {"codec.*.samples=slipped", Finding::escaped, "levels are measured, and no times"},
    {"codec.*.gain=-1", Finding::escaped, "a loop that is 2 dB too weak or too loud still is good"},
    {"codec.*.clip=-1", Finding::escaped, "no tone of the test is as loud as that"},
    {"codec.clock=*", Finding::escaped, "tones are played and measured by the same clock"},
    {"codec.in?.offset=-60", Finding::escaped, "a DC of up to -45 dB is good"},
    {"codec.in?.noise=-85", Finding::escaped, "noise of up to -78 dB is good"},
    {"codec.in?.hum=-85", Finding::escaped, "noise of up to -78 dB is good"},
    {"codec.out?.offset=*", Finding::escaped,
     "silence is measured without the cable, and against a tone this is little"},
    {"codec.out?.noise=*", Finding::escaped,
     "silence is measured without the cable, and against a tone this is little"},
    {"codec.out?.hum=*", Finding::escaped,
     "silence is measured without the cable, and against a tone this is little"},
};

// Even noise of a random number from -32768 to 32767; the product is one instruction.
std::int32_t noise_of(std::int32_t number, std::int32_t peak) {
    return static_cast<std::int32_t>((std::int64_t{number} * peak) >> 15);
}

} // namespace

Codec::Codec(Board board, std::uint64_t seed)
    : aes_(board == Board::aes), random_(static_cast<std::uint32_t>(seed * 2654435761U + 1)) {
    for (std::int32_t* const dc : {&converter_dc_.left, &converter_dc_.right}) {
        const double place = std::abs(random()) / 32768.0;
        const int sign = random() < 0 ? -1 : 1;
        *dc = sign *
              amplitude(converter_dc_min_db + place * (converter_dc_max_db - converter_dc_min_db));
    }
    update();
}

void Codec::carry(std::int64_t first, unsigned rate_hz, std::span<const Frame> sent,
                  std::span<Frame> arriving) {
    if (first != next_frame_) transit_.fill({});
    next_frame_ = first + static_cast<std::int64_t>(sent.size());
    through_cable(first, rate_hz, sent, arriving);
    if (faults_.droop_hz != 0) droop(rate_hz, arriving);
    inputs_[0].carry(arriving, &Frame::left, first, rate_hz);
    inputs_[1].carry(arriving, &Frame::right, first, rate_hz);
    if (inputs_swapped_) swap_sides(arriving);
    add_converter(arriving);
    if (faults_.hum_db > silence_db) add_hum(first, rate_hz, arriving);
    if (crackle_frames_left_ > 0) add_crackle(arriving);
}

void Codec::set(const CodecSettings& settings) {
    settings_ = settings;
    update();
}

void Codec::set_cable(AnalogCable cable) {
    cable_ = cable;
    update();
}

void Codec::set(const CodecFaults& faults) {
    faults_ = faults;
    update();
}

void Codec::name_sites(FaultSites& sites, std::function<void()> changing) {
    sites.about("AnalogAudio", channel_expectations);
    const unsigned outputs = aes_ ? outputs_max : outputs_max - 2;
    for (unsigned output = 0; output < outputs; ++output) {
        const std::string name = "codec.out" + std::to_string(output + 1);
        outputs_[output].set_on_change(changing);
        if (output < analog_inputs)
            outputs_[output].name_sites(sites, name);
        else
            outputs_[output].name_unheard(sites, name);
    }
    for (unsigned input = 0; input < analog_inputs; ++input) {
        inputs_[input].set_on_change(changing);
        inputs_[input].name_sites(sites, "codec.in" + std::to_string(input + 1));
    }
    for (const auto& [site, swapped] : {std::pair("codec.outputs", &Codec::outputs_swapped_),
                                        std::pair("codec.inputs", &Codec::inputs_swapped_)})
        sites.add(site, "swapped", [this, swapped, changing](bool broken) {
            changing();
            this->*swapped = broken;
        });
}

void Codec::crackle() { crackle_frames_left_ = crackle_frames; }

void Codec::update() {
    for (unsigned input = 0; input < analog_inputs; ++input)
        paths_[input] = {std::max(source_of(input), 0),
                         std::round(std::min(loop_gain(input), gain_max) * gain_steps) /
                             gain_steps};
    const std::int32_t dc = faults_.dc_db > silence_db ? amplitude(faults_.dc_db) : 0;
    dc_ = {converter_dc_.left + dc, converter_dc_.right + dc};
    noise_ = noise_peak(std::hypot(factor(converter_noise_db), factor(faults_.noise_db)));
}

// The output channel that the cable brings to this input; -1: none.
int Codec::source_of(unsigned input) const {
    const int straight = static_cast<int>(input);
    switch (cable_) {
    case AnalogCable::unplugged:
        return -1;
    case AnalogCable::straight:
    case AnalogCable::phones:
        return straight;
    case AnalogCable::left:
        return input == 0 ? straight : -1;
    case AnalogCable::right:
        return input == 1 ? straight : -1;
    case AnalogCable::crossed:
        break;
    }
    return 1 - straight;
}

double Codec::loop_gain(unsigned input) const {
    const int source = source_of(input);
    if (source < 0 || faults_.dead_input == static_cast<int>(input) + 1) return 0;
    if (!settings_.line_in_on[input]) return 0;
    const double fault_db = faults_.gain_db + (input == 0 ? faults_.left_db : faults_.right_db);
    return output_gain(static_cast<unsigned>(source)) * factor(input_gain_db(input) + fault_db);
}

double Codec::output_gain(unsigned channel) const {
    const bool phones = cable_ == AnalogCable::phones;
    const int step = (phones ? settings_.headphone : settings_.line_out)[channel];
    const bool on = (phones ? settings_.headphone_on : settings_.line_out_on)[channel];
    return on && step > 0 ? factor((step - output_nominal) * output_step_db) : 0;
}

double Codec::input_gain_db(unsigned input) const {
    const LineInScale& scale = aes_ ? aes_line_in : other_line_in;
    return scale.at_0_db + settings_.line_in[input] * scale.step_db +
           settings_.line_in_level[input] * line_in_level_step_db +
           (settings_.boost[input] ? boost_db : 0) + (settings_.phantom[input] ? phantom_db : 0);
}

void Codec::through_cable(std::int64_t first, unsigned rate_hz, std::span<const Frame> sent,
                          std::span<Frame> arriving) {
    for (std::size_t index = 0; index < sent.size(); ++index) {
        arriving[index] = std::exchange(transit_[transit_next_], sent[index]);
        if (++transit_next_ == latency_frames) transit_next_ = 0;
    }
    if (outputs_swapped_) swap_sides(arriving);
    outputs_[0].carry(arriving, &Frame::left, first, rate_hz);
    outputs_[1].carry(arriving, &Frame::right, first, rate_hz);
    const auto [left, right] = paths_;
    for (Frame& frame : arriving) {
        const std::int32_t outputs[] = {frame.left, frame.right};
        frame = {amplified(outputs[left.source], left.gain),
                 amplified(outputs[right.source], right.gain)};
    }
}

void Codec::droop(unsigned rate_hz, std::span<Frame> frames) {
    for (Dip& dip : dips_)
        if (dip.frequency_hz() != faults_.droop_hz || dip.rate_hz() != rate_hz)
            dip.tune(faults_.droop_hz, rate_hz);
    for (Frame& frame : frames)
        frame = {clip(std::lrint(dips_[0].filter(frame.left))),
                 clip(std::lrint(dips_[1].filter(frame.right)))};
    for (Dip& dip : dips_)
        dip.settle();
}

void Codec::add_converter(std::span<Frame> frames) {
    for (Frame& frame : frames) {
        const std::int32_t left = noise_of(random(), noise_);
        const std::int32_t right = noise_of(random(), noise_);
        add(frame, left + dc_.left, right + dc_.right);
    }
}

void Codec::add_hum(std::int64_t first, unsigned rate_hz, std::span<Frame> frames) const {
    const double step = 2.0 * std::numbers::pi * hum_hz / rate_hz;
    const std::int32_t peak = amplitude(faults_.hum_db);
    std::int64_t index = first % rate_hz;
    for (Frame& frame : frames) {
        const auto hum = static_cast<std::int32_t>(
            std::lround(peak * std::sin(step * static_cast<double>(index++))));
        add(frame, hum, hum);
    }
}

void Codec::add_crackle(std::span<Frame> frames) {
    const std::int32_t peak = noise_peak(factor(crackle_db));
    const std::size_t length = std::min<std::size_t>(frames.size(), crackle_frames_left_);
    for (Frame& frame : frames.first(length)) {
        const std::int32_t noise = noise_of(random(), peak);
        add(frame, noise, noise);
    }
    crackle_frames_left_ -= static_cast<unsigned>(length);
}

// Even, from -32768 to 32767. The upper half of a linear congruential generator.
std::int32_t Codec::random() {
    random_ = random_ * 1664525U + 1013904223U;
    return static_cast<std::int32_t>(random_) >> 16;
}

} // namespace k4sim
