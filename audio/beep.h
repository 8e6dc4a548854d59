#pragma once
// Tones and short melodies on the PC speaker, through the tone requests of the Linux
// console (KIOCSOUND: a lasting tone, KDMKTONE: a tone that the kernel ends).

#include <cstdint>
#include <memory>

// A melody is a list of entries, ended by 0. The high 16 bits of an entry are its
// duration in ms, the low 16 bits its frequency in Hz, 0 Hz being a rest.
//
// A melody text is a row of pairs, note and length. The length digit d, 1 to 9, gives
// 2000 / 2^(d-1) ms; a pair with another length is skipped. The note 'a' to 'x' gives
// 222 * 2^(n/12) Hz, 'A' to 'X' the same two octaves up, any other character a rest. An
// odd character at the end ends the text.
//
// Without an open device a melody takes its time, silently. What the console answers to a
// tone is not looked at: a tone that fails is a tone that the operator does not hear.
class KLTlinuxBeep {
public:
    KLTlinuxBeep() = default;
    // Closes the device.
    ~KLTlinuxBeep() { closedev(); }
    KLTlinuxBeep(const KLTlinuxBeep&) = delete;
    KLTlinuxBeep& operator=(const KLTlinuxBeep&) = delete;

    // Closes an open device, then opens path for reading. Null: "/dev/console"; empty:
    // opens nothing. 0, or -1 when it can't be opened.
    int opendev(const char* path);
    // Silences and closes the device.
    void closedev();

    // A tone of freq Hz and ms milliseconds; with wait, sleeps as long. Nothing, not even
    // the sleep, when freq or ms is below 1 or the device is closed.
    void beep(int freq, int ms, bool wait);
    // A lasting tone; 0 Hz or less: silence.
    void sound(int freq);
    // Silence, and the end of the running melody.
    void stop();

    // Silences and loads a melody for melodyNext. Null or empty: no melody.
    void melody(const unsigned long* notes);
    void melody(const char* text);
    // Starts the next entry of the melody and returns its duration in ms, for callers
    // that do the waiting. 0: the melody is over, or the entry has no duration, which the
    // console takes for silence.
    int melodyNext();

    // Loads a melody and plays it to its end, sleeping for each entry. An entry without
    // duration ends it early, unheard.
    void playall(const char* text);
    void playall(const unsigned long* notes);

private:
    void request(unsigned long code, unsigned long argument);
    void tone(uint32_t freq, uint32_t ms);
    void reserve(int count);
    void playLoaded();

    int fd_ = -1;
    std::unique_ptr<uint32_t[]> notes_;
    int32_t capacity_ = 0;
    int32_t index_ = -1;
};
