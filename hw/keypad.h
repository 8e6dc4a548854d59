#pragma once

#include <array>
#include <cstdint>

// Turns successive key status words of the front panel into a queue of key events.
//
// An event is the key code 0..21, plus `released` when the key was let go. The character
// of code n is keyCharacters[n]. A status word holds
//
//     bits  0..15  sixteen keys, 0 = pressed
//     bits 16..22  position of encoder 2
//     bit  23      key M, 1 = pressed
//     bits 24..29  position of encoder 1
//     bit  30      1 = the word could not be read
//     bit  31      key K, 1 = pressed
class CHfpK4keyBuf {
public:
    static constexpr int released = 0x100;
    static constexpr int noEvent = -1;
    static constexpr const char* keyCharacters = "0123456789*#LRKEACDMhH";

    // Keys with a meaning of their own: two that let the tests begin, one that aborts them.
    static constexpr int codeStart7 = 7;
    static constexpr int codeStartM = 19;
    static constexpr int codeEscape = 15;
    static constexpr bool isStart(int event) { return event == codeStart7 || event == codeStartM; }

    // Sets how many positions the encoders count before they start again at 0: 16 for
    // panel versions below 8, else 64. Returns that number; it is 16 before.
    int init(int panelVersion);

    // Takes the low 32 bits of one status word in, and queues an event for every encoder
    // step and every key that changed since the word before. The first word yields the
    // keys that are pressed, and no encoder steps. Invalid words are only counted. A jump
    // of an encoder by nearly half a turn or more is noise and yields nothing.
    // Events that find no room in the queue (19 events) are lost.
    // Returns the number of queued events.
    int analyze(unsigned long status);

    // Removes the oldest event and returns it; noEvent when there is none.
    int getkey();

    // Removes events from the head of the queue as long as they equal the given one.
    // Returns how many were removed.
    int getall(int event);

    // Number of words that were invalid.
    int invalidWords() const { return invalidWordCount_; }

private:
    static constexpr int ringSize = 20;

    int queued() const;
    void put(int event);
    void putSteps(std::uint32_t word);
    void putKeys(std::uint32_t word);

    std::uint32_t previousWord_ = 0x0000FFFF; // every key up
    std::array<int, 2> previousPositions_{};
    bool isFirstSample_ = true;
    int encoderModulus_ = 16;
    std::array<std::uint16_t, ringSize> ring_{};
    int readIndex_ = 0;
    int writeIndex_ = 0;
    int invalidWordCount_ = 0;
};
