#include "sim/models/sound/card_controls.h"

#include <algorithm>

namespace k4sim {

namespace {

using Kind = ControlElement::Kind;
using Access = ControlElement::Access;
using Decibels = ControlElement::Decibels;
using Levels = CodecSettings::Pair<int> CodecSettings::*;
using Flags = CodecSettings::Pair<bool> CodecSettings::*;

constexpr Decibels output_scale{-12700, 100, true};
constexpr Decibels level_scale{0, 300, false};

ControlRow volume(std::string_view name, Levels level, int maximum,
                  std::optional<Decibels> decibels) {
    ControlRow row{
        {name, 0, Kind::integer, analog_inputs, 0, maximum, 1, Access::read_write, decibels}};
    row.level = level;
    return row;
}

ControlRow toggle(std::string_view name, Flags flag, bool inverted = false) {
    ControlRow row{{name, 0, Kind::boolean, analog_inputs, 0, 1, 1, Access::read_write, {}}};
    row.flag = flag;
    row.flag_inverted = inverted;
    return row;
}

using Read = void (*)(AesEbu&, std::span<std::int32_t>);
using Write = void (*)(AesEbu&, std::span<const std::int32_t>);

ControlRow number(std::string_view name, int maximum, Read read, Write write) {
    const Access access = write ? Access::read_write : Access::read_only;
    ControlRow row{{name, 1, Kind::integer, 1, 0, maximum, 1, access, {}}};
    row.read = read;
    row.write = write;
    return row;
}

ControlRow status_bytes(std::string_view name, Read read, Write write) {
    const Access access = write ? Access::read_write : Access::read_only;
    const auto count = static_cast<unsigned>(ChannelStatus{}.size());
    ControlRow row{{name, 1, Kind::bytes, count, 0, 255, 1, access, {}}};
    row.read = read;
    row.write = write;
    return row;
}

ChannelStatus status_of(std::span<const std::int32_t> values) {
    ChannelStatus status;
    std::ranges::transform(values.first(status.size()), status.begin(),
                           [](std::int32_t value) { return static_cast<std::uint8_t>(value); });
    return status;
}

void add_mixer(std::vector<ControlRow>& rows, int line_in_maximum) {
    using S = CodecSettings;
    rows.push_back(volume("Headphone Playback Volume", &S::headphone, 127, output_scale));
    rows.push_back(toggle("Headphone Playback Switch", &S::headphone_on));
    rows.push_back(volume("Line Out Playback Volume", &S::line_out, 127, output_scale));
    rows.push_back(toggle("Line Out Playback Switch", &S::line_out_on));
    rows.push_back(volume("Line In Capture Volume", &S::line_in, line_in_maximum, {}));
    rows.push_back(toggle("Line In Capture Switch", &S::line_in_on));
    rows.push_back(volume("Line In Level Capture Volume", &S::line_in_level, 15, level_scale));
}

void add_microphone(std::vector<ControlRow>& rows) {
    rows.push_back(toggle("MicBoost Playback Switch", &CodecSettings::boost, true));
    rows.push_back(toggle("Phantom Playback Switch", &CodecSettings::phantom));
}

void add_receiver(std::vector<ControlRow>& rows) {
    rows.push_back(number(
        "IEC958 Capture RXP Status", 255,
        [](AesEbu& line, auto values) { values[0] = line.receiver_status(); }, nullptr));
    rows.push_back(status_bytes(
        "IEC958 Capture RXC Channel",
        [](AesEbu& line, auto values) {
            std::ranges::copy(line.received_status(), values.begin());
        },
        nullptr));
    rows.push_back(number(
        "IEC958 Capture RXP Lock Change", 1,
        [](AesEbu& line, auto values) { values[0] = line.lock_changed(); },
        [](AesEbu& line, auto values) {
            if (values[0] != 0) line.clear_lock_changed();
        }));
    rows.back().acts_on_write = true;
    rows.push_back(number(
        "IEC958 Capture RXP Processing State", 1,
        [](AesEbu& line, auto values) { values[0] = line.processing(); },
        [](AesEbu& line, auto values) { line.set_processing(values[0] != 0); }));
}

void add_transmitter(std::vector<ControlRow>& rows) {
    rows.push_back(status_bytes(
        "IEC958 Playback Default",
        [](AesEbu& line, auto values) { std::ranges::copy(line.default_status(), values.begin()); },
        [](AesEbu& line, auto values) { line.set_default_status(status_of(values)); }));
    rows.push_back(number(
        "IEC958 Playback TXC State", 1,
        [](AesEbu& line, auto values) { values[0] = line.transmitter_on(); },
        [](AesEbu& line, auto values) { line.set_transmitter(values[0] != 0); }));
    rows.push_back(number(
        "IEC958 Playback TXC SPdif", 255,
        [](AesEbu& line, auto values) { values[0] = line.spdif(); },
        [](AesEbu& line, auto values) { line.set_spdif(static_cast<std::uint8_t>(values[0])); }));
    rows.push_back(status_bytes(
        "IEC958 Playback TXC Channel",
        [](AesEbu& line, auto values) { std::ranges::copy(line.channel_status(), values.begin()); },
        [](AesEbu& line, auto values) { line.set_channel_status(status_of(values)); }));
}

} // namespace

std::vector<ControlRow> control_rows(Board board) {
    std::vector<ControlRow> rows;
    if (board == Board::aes) {
        add_mixer(rows, 63);
        add_receiver(rows);
        add_transmitter(rows);
    } else {
        add_mixer(rows, 31);
        add_microphone(rows);
    }
    return rows;
}

std::string_view simple_name(std::string_view element_name) {
    for (const std::string_view direction : {" Playback ", " Capture "})
        if (const auto place = element_name.find(direction); place != std::string_view::npos)
            return element_name.substr(0, place);
    return element_name;
}

} // namespace k4sim
