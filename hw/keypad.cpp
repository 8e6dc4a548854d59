#include "hw/keypad.h"

#include <cstdlib>

namespace {

constexpr std::uint32_t invalidWord = 1U << 30;
constexpr std::uint32_t positionMask = 0x7F;

struct Encoder {
    int shift; // of its position within the status word
    int stepDownCode;
    int stepUpCode;
};

constexpr std::array<Encoder, 2> encoders{{{24, 12, 13}, {16, 20, 21}}};

struct Key {
    int bit;
    int code;
    std::uint32_t levelWhenUp;
};

// In the order in which the events of one word are queued.
constexpr std::array<Key, 18> keys{{
    {0, 17, 1},
    {1, 18, 1},
    {2, 15, 1},
    {3, 16, 1},
    {4, 1, 1},
    {5, 4, 1},
    {6, 7, 1},
    {7, 10, 1},
    {8, 2, 1},
    {9, 5, 1},
    {10, 8, 1},
    {11, 0, 1},
    {12, 3, 1},
    {13, 6, 1},
    {14, 9, 1},
    {15, 11, 1},
    {23, 19, 0},
    {31, 14, 0},
}};

// Steps between two positions of a counter that wraps at the modulus; 0 for noise.
int stepsBetween(int oldPosition, int newPosition, int modulus) {
    int steps = newPosition - oldPosition;
    if (oldPosition <= 2 && newPosition >= modulus - 3)
        steps -= modulus;
    else if (newPosition <= 2 && oldPosition >= modulus - 3)
        steps += modulus;
    const bool isNoise = steps < 2 - modulus / 2 || steps > modulus / 2 - 2;
    return isNoise ? 0 : steps;
}

} // namespace

int CHfpK4keyBuf::init(int panelVersion) {
    encoderModulus_ = panelVersion < 8 ? 16 : 64;
    return encoderModulus_;
}

int CHfpK4keyBuf::analyze(unsigned long status) {
    const auto word = static_cast<std::uint32_t>(status);
    if (word & invalidWord) {
        ++invalidWordCount_;
        return queued();
    }
    putSteps(word);
    putKeys(word);
    previousWord_ = word;
    return queued();
}

int CHfpK4keyBuf::getkey() {
    if (readIndex_ == writeIndex_) return noEvent;
    const int event = ring_[static_cast<std::size_t>(readIndex_)];
    readIndex_ = (readIndex_ + 1) % ringSize;
    return event;
}

int CHfpK4keyBuf::getall(int event) {
    int removed = 0;
    while (readIndex_ != writeIndex_ && ring_[static_cast<std::size_t>(readIndex_)] == event) {
        getkey();
        ++removed;
    }
    return removed;
}

int CHfpK4keyBuf::queued() const { return (writeIndex_ - readIndex_ + ringSize) % ringSize; }

void CHfpK4keyBuf::put(int event) {
    const int advanced = (writeIndex_ + 1) % ringSize;
    if (advanced == readIndex_) return;
    ring_[static_cast<std::size_t>(writeIndex_)] = static_cast<std::uint16_t>(event);
    writeIndex_ = advanced;
}

void CHfpK4keyBuf::putSteps(std::uint32_t word) {
    for (std::size_t i = 0; i < encoders.size(); ++i) {
        const auto [shift, stepDownCode, stepUpCode] = encoders[i];
        const int position = static_cast<int>(word >> shift & positionMask);
        const int steps =
            isFirstSample_ ? 0 : stepsBetween(previousPositions_[i], position, encoderModulus_);
        for (int step = std::abs(steps); step > 0; --step)
            put(steps > 0 ? stepUpCode : stepDownCode);
        previousPositions_[i] = position;
    }
    isFirstSample_ = false;
}

void CHfpK4keyBuf::putKeys(std::uint32_t word) {
    for (const Key& key : keys) {
        const std::uint32_t level = word >> key.bit & 1;
        if (level != (previousWord_ >> key.bit & 1))
            put(level == key.levelWhenUp ? key.code | released : key.code);
    }
}
