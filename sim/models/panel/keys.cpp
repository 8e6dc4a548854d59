#include "sim/models/panel/keys.h"

#include <array>
#include <cstdlib>
#include <string>
#include <utility>

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

constexpr std::uint32_t all_keys = (1U << key_characters.size()) - 1;
constexpr Microseconds bounces_us[] = {1000, 3000, 4000, 6000, 7000};
constexpr Microseconds late_us[] = {200'000}; // a dirty contact

constexpr Expectation key_expectations[] = {
    {"keys.wires12-13=tied-high", Finding::blocked, "no Esc comes without the other key", ~on_aes},
    {"keys.wires13-14=tied-high", Finding::blocked, "no Esc comes without the other key", ~on_aes},
    {"keys.wires*=tied-high", Finding::escaped,
     "two keys at once are two keys pressed, and the order of keys is free"},
    {"keys.*=bouncing", Finding::escaped, "a key may be pressed several times"},
    {"keys.*=late", Finding::escaped, "a key is held for longer than its contact needs"},
    {"keys.E=stuck-0", Finding::blocked, "it is the key that ends a run"},
    {"keys.wires12-13=tied-low", Finding::blocked, "it takes the key that ends a run along"},
    {"keys.wires13-14=tied-low", Finding::blocked, "it takes the key that ends a run along"},
    {"keys.E=stuck-1", Finding::blocked, "only this key ends a run that can't pass", ~on_aes},
    {"keys.[7M]=stuck-1", Finding::detected, ""}, // taken for the start key
    {"keys.encoder?.counter.*", Finding::escaped,
     "a step there and back counts wherever the counter shows it"},
    {"keys.encoder?.phase*", Finding::escaped,
     "back and forth across the edge of the contact that works counts in full"},
    {"keys.*=stuck-1", Finding::operator_,
     "it counts as pressed, but it ends the lamp test before anyone has looked"},
    {"keys.encoder?.knob=skipping", Finding::escaped, "the row asks again for what it missed"},
    {"keys.encoder?.knob=reversed", Finding::escaped,
     "both ways have to come, and nothing tells which one was meant"},
};

bool is_encoder(int encoder) { return encoder == 1 || encoder == 2; }

} // namespace

Keys::Keys(unsigned counter_bits, Surroundings& surroundings)
    : surroundings_(surroundings), encoders_{Encoder(counter_bits), Encoder(counter_bits)} {
    key_wires_.set_on_change([this] { update_word(); });
    reset();
}

void Keys::reset() {
    pressed_ = held_ = dead_ = open_ = 0;
    for (int index = 0; index < 2; ++index) {
        encoders_[static_cast<std::size_t>(index)].reset();
        encoders_dead_[index] = false;
    }
    invalid_words_ = 0;
    update_word();
}

bool Keys::press(char key) {
    pressed_ |= key_bit(key);
    if ((bouncing_ & key_bit(key)) != 0) chatter(key_bit(key), bounces_us);
    if ((late_ & key_bit(key)) != 0) chatter(key_bit(key), late_us);
    update_word();
    return key_bit(key) != 0;
}

bool Keys::release(char key) {
    pressed_ &= ~key_bit(key);
    open_ &= ~key_bit(key);
    update_word();
    return key_bit(key) != 0;
}

bool Keys::turn(int encoder, int steps) {
    if (!is_encoder(encoder)) return false;
    if (encoders_dead_[encoder - 1]) return true;
    for (int step = std::abs(steps); step > 0; --step)
        encoders_[static_cast<std::size_t>(encoder - 1)].step(steps > 0);
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

void Keys::name_sites(FaultSites& sites) {
    sites.about("Frontpanel", key_expectations);
    for (unsigned index = 0; index < key_characters.size(); ++index)
        name_contact(sites, index);
    key_wires_.name_shorts(sites, "keys.wires", key_characters.size(), 1);
    for (std::size_t index = 0; index < encoders_.size(); ++index)
        encoders_[index].name_sites(sites, "keys.encoder" + std::to_string(index + 1),
                                    [this] { update_word(); });
}

void Keys::name_contact(FaultSites& sites, unsigned index) {
    const char key = key_characters[index];
    const std::string site = "keys." + (key == '*'   ? "star"
                                        : key == '#' ? "hash"
                                                     : std::string(1, key));
    key_wires_.name_line(sites, site, index, BitJoint::stuck);
    for (const auto& [way, set] :
         {std::pair("bouncing", &Keys::bouncing_), std::pair("late", &Keys::late_)})
        sites.add(site, way, [this, set, key](bool broken) {
            this->*set = broken ? this->*set | key_bit(key) : this->*set & ~key_bit(key);
        });
}

// The contact opens now, closes at the first of the times, opens at the second ...
void Keys::chatter(std::uint32_t key, std::span<const Microseconds> times) {
    open_ |= key;
    for (const Microseconds time : times)
        surroundings_.at(surroundings_.now() + time, [this, key] {
            if ((pressed_ & key) == 0) return;
            open_ ^= key;
            update_word();
        });
}

std::uint32_t Keys::read() {
    if (invalid_words_ > 0) {
        --invalid_words_;
        return ~word_ | invalid_bit;
    }
    return word_;
}

bool Keys::peek_pressed(char key) const { return ((pressed_ | held_) & key_bit(key)) != 0; }

unsigned Keys::peek_counter(int encoder) {
    return is_encoder(encoder) ? encoders_[static_cast<std::size_t>(encoder - 1)].counter() : 0;
}

void Keys::update_word() {
    const std::uint32_t down =
        key_wires_.through(((pressed_ & ~open_) | held_) & ~dead_) & all_keys;
    word_ = all_up;
    for (unsigned index = 0; index < word_bits.size(); ++index)
        if (down & (1U << index)) word_ ^= 1U << word_bits[index];
    for (std::size_t index = 0; index < encoders_.size(); ++index)
        word_ |= encoders_[index].counter() << encoder_shift[index];
    surroundings_.wire(Wire::keys, down);
    surroundings_.wire(Wire::knob1, encoders_[0].phases());
    surroundings_.wire(Wire::knob2, encoders_[1].phases());
}

} // namespace k4sim
