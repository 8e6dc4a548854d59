#include "sim/models/sound/sound_faults.h"

#include "sim/models/breaker.h"
#include "sim/models/faults.h"
#include "sim/models/sound/sound_card.h"

#include <algorithm>
#include <cmath>

namespace k4sim {

namespace {

constexpr Microseconds lock_gap_us = 300'000; // a moment that a look every 100 ms can't miss

int number_of(std::string_view value) { return static_cast<int>(fault_number(value)); }
Microseconds microseconds_of(std::string_view value) {
    return std::llround(fault_decimal(value) * us_per_second);
}
unsigned rate_of(std::string_view value) { return static_cast<unsigned>(fault_number(value)); }

template <class Faults, class T, class U>
void change(SoundCard& card, Faults faults, T Faults::*what, U value) {
    faults.*what = value;
    card.set(faults);
}

template <class T, class U>
void break_codec(SoundCard& card, T CodecFaults::*what, U value) {
    change(card, card.codec().faults(), what, value);
}

template <class T, class U>
void break_line(SoundCard& card, T AesEbuFaults::*what, U value) {
    change(card, card.aes()->faults(), what, value);
}

// As it is without any.
template <auto what>
void mend_codec(SoundCard& card, std::string_view) {
    change(card, card.codec().faults(), what, CodecFaults{}.*what);
}

template <auto what>
void mend_line(SoundCard& card, std::string_view) {
    change(card, card.aes()->faults(), what, AesEbuFaults{}.*what);
}

void spoil_analog_cable(SoundCard& card, std::string_view how) {
    constexpr struct {
        std::string_view word;
        AnalogCable cable;
    } shapes[] = {{"left", AnalogCable::left},
                  {"right", AnalogCable::right},
                  {"crossed", AnalogCable::crossed},
                  {"phones", AnalogCable::phones}};
    for (const auto& [word, cable] : shapes)
        if (word == how) card.set_analog_cable(cable);
    card.set_analog_cable_lost(how == "never");
    if (how == "early") card.plug_analog(true);
}

void mend_analog_cable(SoundCard& card, std::string_view how) {
    card.set_analog_cable(AnalogCable::straight);
    card.set_analog_cable_lost(false);
    if (how == "early") card.plug_analog(false);
}

void spoil_digital_cable(SoundCard& card, std::string_view how) {
    card.set_digital_cable_lost(how == "never");
    if (how == "early") card.plug_digital(true);
}

void mend_digital_cable(SoundCard& card, std::string_view how) {
    card.set_digital_cable_lost(false);
    if (how == "early") card.plug_digital(false);
}

std::string_view element_of(std::string_view word) {
    constexpr struct {
        std::string_view word, name;
    } elements[] = {{"headphone", "Headphone"}, {"line-out", "Line Out"},
                    {"line-in", "Line In"},     {"line-in-level", "Line In Level"},
                    {"micboost", "MicBoost"},   {"phantom", "Phantom"}};
    const auto found =
        std::ranges::find_if(elements, [&](const auto& element) { return element.word == word; });
    return found == std::end(elements) ? word : found->name;
}

constexpr Breaker<SoundCard> breakers[] = {
    {"aes-cable", spoil_digital_cable, mend_digital_cable},
    {"aes-lock-lost", [](SoundCard& card, auto) { card.aes()->lose_lock(lock_gap_us); }},
    {"aes-measured-rate",
     [](SoundCard& card, auto value) {
         break_line(card, &AesEbuFaults::measured_rate_hz, rate_of(value));
     },
     mend_line<&AesEbuFaults::measured_rate_hz>},
    {"aes-rate-dead",
     [](SoundCard& card, auto value) {
         break_line(card, &AesEbuFaults::dead_rate_hz, rate_of(value));
     },
     mend_line<&AesEbuFaults::dead_rate_hz>},
    {"aes-receiver-absent", [](SoundCard& card, auto) { card.set_receiver_missing(true); },
     [](SoundCard& card, auto) { card.set_receiver_missing(false); }},
    {"aes-status-rate",
     [](SoundCard& card, auto value) {
         break_line(card, &AesEbuFaults::status_rate_hz, rate_of(value));
     },
     mend_line<&AesEbuFaults::status_rate_hz>},
    {"aes-transmitter-absent", [](SoundCard& card, auto) { card.set_transmitter_missing(true); },
     [](SoundCard& card, auto) { card.set_transmitter_missing(false); }},
    {"aes-transmitter-refuses",
     [](SoundCard& card, auto) { break_line(card, &AesEbuFaults::transmitter_refuses, true); },
     mend_line<&AesEbuFaults::transmitter_refuses>},
    {"analog-cable", spoil_analog_cable, mend_analog_cable},
    {"analog-crackle", [](SoundCard& card, auto) { card.crackle(); }},
    {"analog-dc",
     [](SoundCard& card, auto value) {
         break_codec(card, &CodecFaults::dc_db, fault_decimal(value));
     },
     mend_codec<&CodecFaults::dc_db>},
    {"analog-droop",
     [](SoundCard& card, auto value) {
         break_codec(card, &CodecFaults::droop_hz, number_of(value));
     },
     mend_codec<&CodecFaults::droop_hz>},
    {"analog-gain",
     [](SoundCard& card, auto value) {
         break_codec(card, &CodecFaults::gain_db, fault_decimal(value));
     },
     mend_codec<&CodecFaults::gain_db>},
    {"analog-hum",
     [](SoundCard& card, auto value) {
         break_codec(card, &CodecFaults::hum_db, fault_decimal(value));
     },
     mend_codec<&CodecFaults::hum_db>},
    {"analog-input-dead",
     [](SoundCard& card, auto value) {
         break_codec(card, &CodecFaults::dead_input, number_of(value));
     },
     mend_codec<&CodecFaults::dead_input>},
    {"analog-left-gain",
     [](SoundCard& card, auto value) {
         break_codec(card, &CodecFaults::left_gain_db, fault_decimal(value));
     },
     mend_codec<&CodecFaults::left_gain_db>},
    {"analog-noise",
     [](SoundCard& card, auto value) {
         break_codec(card, &CodecFaults::noise_db, fault_decimal(value));
     },
     mend_codec<&CodecFaults::noise_db>},
    {"analog-right-gain",
     [](SoundCard& card, auto value) {
         break_codec(card, &CodecFaults::right_gain_db, fault_decimal(value));
     },
     mend_codec<&CodecFaults::right_gain_db>},
    {"capture-overrun",
     [](SoundCard& card, auto value) {
         card.set_interruptions(PcmStream::Direction::capture, microseconds_of(value));
     },
     [](SoundCard& card, auto) { card.set_interruptions(PcmStream::Direction::capture, 0); }},
    {"card-absent", [](SoundCard& card, auto) { card.set_present(false); },
     [](SoundCard& card, auto) { card.set_present(true); }},
    {"card-busy", [](SoundCard& card, auto) { card.set_busy(true); },
     [](SoundCard& card, auto) { card.set_busy(false); }},
    {"card-element-missing",
     [](SoundCard& card, auto value) { card.set_control_missing(element_of(value), true); },
     [](SoundCard& card, auto value) { card.set_control_missing(element_of(value), false); }},
    {"card-mixer-refuses", [](SoundCard& card, auto) { card.set_controls_refused(true); },
     [](SoundCard& card, auto) { card.set_controls_refused(false); }},
    {"card-parameters-refused", [](SoundCard& card, auto) { card.set_parameters_refused(true); },
     [](SoundCard& card, auto) { card.set_parameters_refused(false); }},
    {"playback-underrun",
     [](SoundCard& card, auto value) {
         card.set_interruptions(PcmStream::Direction::playback, microseconds_of(value));
     },
     [](SoundCard& card, auto) { card.set_interruptions(PcmStream::Direction::playback, 0); }},
};

} // namespace

bool work_on_sound_card(Work work, SoundCard& card, std::string_view name, std::string_view value) {
    return work_by_name(breakers, work, card, name, value);
}

} // namespace k4sim
