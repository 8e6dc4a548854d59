// The keys and the two rotary encoders of the front panel, and the 32-bit key status
// word that the panel reports of them.
//
// Word: bits 0 to 15 keys, 0 = pressed (C D E A 1 4 7 * 2 5 8 0 3 6 9 # from bit 0 on);
// bits 16 to 22 counter of encoder 2; bit 23 key M, 1 = pressed; bits 24 to 29 counter of
// encoder 1; bit 30 read error, the other bits mean nothing; bit 31 key K, 1 = pressed.
//
// A contact closes at once, and stays so, unless a fault has it otherwise.
#pragma once

#include "sim/models/joints/bit_joint.h"
#include "sim/models/panel/encoder.h"
#include "sim/models/surroundings.h"

#include <array>
#include <cstdint>
#include <span>
#include <string_view>

namespace k4sim {

inline constexpr std::string_view key_characters = "0123456789*#KEACDM";

class Keys {
public:
    // Encoder counters of 4 or 6 bits.
    Keys(unsigned counter_bits, Surroundings& surroundings);

    // All keys up, counters at 0, no fault.
    void reset();

    // The operator. False for a character that is no key.
    bool press(char key);
    bool release(char key);
    // Encoder 1 or 2 by `steps`, to the right when positive; the counter wraps. False for
    // another encoder.
    bool turn(int encoder, int steps);

    // Its contacts, the wires of the keys, and the knobs.
    void name_sites(FaultSites& sites);

    // Faults, until reset().
    bool set_held(char key, bool held); // pressed from now on, whatever the operator does
    bool set_dead(char key, bool dead); // never reported as pressed
    bool set_encoder_dead(int encoder, bool dead); // its counter stands still
    // The next `words` words read have bit 30 set and garbage elsewhere.
    void set_invalid(unsigned words) { invalid_words_ = words; }

    // The word as the panel sends it; takes one of the invalid words.
    std::uint32_t read();

    // The word without errors; nothing changes.
    std::uint32_t peek_word() const { return word_; }
    // Whether the operator (or a fault) holds the key down.
    bool peek_pressed(char key) const;
    // Counter of encoder 1 or 2.
    unsigned peek_counter(int encoder);

private:
    void update_word();
    void name_contact(FaultSites& sites, unsigned index);
    void chatter(std::uint32_t key, std::span<const Microseconds> times);

    Surroundings& surroundings_;
    std::uint32_t pressed_ = 0; // one bit a key, in the order of key_characters
    std::uint32_t held_ = 0;
    std::uint32_t dead_ = 0;
    std::uint32_t open_ = 0;     // of those pressed, for the moment
    std::uint32_t bouncing_ = 0; // when they are pressed
    std::uint32_t late_ = 0;
    BitJoint key_wires_;
    std::array<Encoder, 2> encoders_;
    bool encoders_dead_[2] = {false, false};
    unsigned invalid_words_ = 0;
    std::uint32_t word_ = 0;
};

} // namespace k4sim
