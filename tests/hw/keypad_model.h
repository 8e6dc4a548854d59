// The key buffer as its manual tells it, with a plain list of events.
#pragma once

#include "hw/keypad.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <deque>
#include <string_view>

class KeypadModel {
public:
    int init(int version) { return modulus_ = version < 8 ? 16 : 64; }

    int analyze(std::uint32_t word) {
        if (word >> 30 & 1) return ++invalid_words, queued();
        // At first the knobs stand where they stand, and all keys are up.
        const std::uint32_t before = word_ != none ? word_ : (word & 0x7F7F0000) | 0xFFFF;
        turn(before >> 24 & 127, word >> 24 & 127, 'L', 'R');
        turn(before >> 16 & 127, word >> 16 & 127, 'h', 'H');
        for (int bit = 0; bit < 32; ++bit)
            if (key_of(bit) != ' ' && (before ^ word) >> bit & 1)
                put(key_of(bit), (word ^ 0xFFFF) >> bit & 1 ? 0 : 0x100);
        word_ = word;
        return queued();
    }

    int getkey() {
        const int event = events_.empty() ? -1 : events_.front();
        if (event != -1) events_.pop_front();
        return event;
    }

    int getall(int event) {
        int count = 0;
        for (; !events_.empty() && events_.front() == event; ++count)
            events_.pop_front();
        return count;
    }

    int invalid_words = 0;

private:
    static constexpr std::uint32_t none = 0xFFFFFFFF; // an invalid word

    static char key_of(int bit) { return "CDEA147*2580369#       M       K"[bit]; }
    int queued() const { return static_cast<int>(events_.size()); }

    void turn(int from, int to, char left, char right) {
        int steps = to - from;
        const bool is_wrapped = std::min(from, to) <= 2 && std::max(from, to) >= modulus_ - 3;
        if (is_wrapped) steps += from < to ? -modulus_ : modulus_;
        const bool is_noise = std::abs(steps) > modulus_ / 2 - 2;
        for (int step = is_noise ? 0 : std::abs(steps); step > 0; --step)
            put(steps < 0 ? left : right, 0);
    }

    void put(char key, int released) {
        constexpr std::string_view codes = "0123456789*#LRKEACDMhH";
        if (events_.size() < 19) events_.push_back(static_cast<int>(codes.find(key)) + released);
    }

    int modulus_ = 16;
    std::uint32_t word_ = none;
    std::deque<int> events_;
};

// One operation on both: bit 0 of its number sets the panel's version, bit 1 takes equal
// events, bit 2 takes one. False where they differ.
inline bool agree(CHfpK4keyBuf& keys, KeypadModel& model, unsigned operation, std::uint32_t word) {
    const int other = static_cast<int>(operation >> 3);
    return (!(operation & 1) || keys.init(other) == model.init(other)) &&
           keys.analyze(word) == model.analyze(word) &&
           (!(operation & 2) || keys.getall(other) == model.getall(other)) &&
           (!(operation & 4) || keys.getkey() == model.getkey()) &&
           keys.invalidWords() == model.invalid_words;
}
