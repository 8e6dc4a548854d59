#include "sim/models/panel/keys.h"

#include <array>

namespace k4sim {

namespace {

// Bit of the key status word, in the order of key_characters.
constexpr std::array<unsigned, key_characters.size()> word_bits = {
    11, 4,  8, 12, 5, 9,  13, 6, 10, 14, // 0 to 9
    7,  15,                              // * #
    31, 2,  3, 0,  1, 23,                // K E A C D M
};

constexpr std::uint32_t invalid_bit = 1U << 30;
constexpr unsigned encoder_shift[2] = {24, 16};
constexpr std::uint32_t all_up = 0x0000FFFF;

// The key's bit in the sets of keys; 0 for a character that is no key.
std::uint32_t key_bit(char key) {
    const std::size_t index = key_characters.find(key);
    return index == std::string_view::npos ? 0 : 1U << index;
}

// A step changes one of the two.
unsigned knob_phases(unsigned counter) { return (counter ^ counter >> 1) & 3; }

bool is_encoder(int encoder) { return encoder == 1 || encoder == 2; }

} // namespace

Keys::Keys(unsigned counter_bits, Surroundings& surroundings)
    : surroundings_(surroundings), counter_mask_((1U << counter_bits) - 1) {
    reset();
}

void Keys::reset() {
    pressed_ = held_ = dead_ = 0;
    for (int index = 0; index < 2; ++index) {
        counters_[index] = 0;
        encoders_dead_[index] = false;
    }
    invalid_words_ = 0;
    update_word();
}

bool Keys::press(char key) {
    pressed_ |= key_bit(key);
    update_word();
    return key_bit(key) != 0;
}

bool Keys::release(char key) {
    pressed_ &= ~key_bit(key);
    update_word();
    return key_bit(key) != 0;
}

bool Keys::turn(int encoder, int steps) {
    if (!is_encoder(encoder)) return false;
    if (encoders_dead_[encoder - 1]) return true;
    unsigned& counter = counters_[encoder - 1];
    counter = (counter + static_cast<unsigned>(steps)) & counter_mask_;
    update_word();
    return true;
}

bool Keys::set_held(char key, bool held) {
    held_ = held ? held_ | key_bit(key) : held_ & ~key_bit(key);
    update_word();
    return key_bit(key) != 0;
}

bool Keys::set_dead(char key, bool dead) {
    dead_ = dead ? dead_ | key_bit(key) : dead_ & ~key_bit(key);
    update_word();
    return key_bit(key) != 0;
}

bool Keys::set_encoder_dead(int encoder, bool dead) {
    if (!is_encoder(encoder)) return false;
    encoders_dead_[encoder - 1] = dead;
    return true;
}

std::uint32_t Keys::read() {
    if (invalid_words_ > 0) {
        --invalid_words_;
        return ~word_ | invalid_bit;
    }
    return word_;
}

bool Keys::peek_pressed(char key) const { return ((pressed_ | held_) & key_bit(key)) != 0; }

unsigned Keys::peek_counter(int encoder) const {
    return is_encoder(encoder) ? counters_[encoder - 1] : 0;
}

void Keys::update_word() {
    const std::uint32_t down = (pressed_ | held_) & ~dead_;
    word_ = all_up;
    for (unsigned index = 0; index < word_bits.size(); ++index)
        if (down & (1U << index)) word_ ^= 1U << word_bits[index];
    for (int index = 0; index < 2; ++index)
        word_ |= counters_[index] << encoder_shift[index];
    surroundings_.wire(Wire::keys, down);
    surroundings_.wire(Wire::knob1, knob_phases(counters_[0]));
    surroundings_.wire(Wire::knob2, knob_phases(counters_[1]));
}

} // namespace k4sim
