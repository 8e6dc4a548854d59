#include "audio/beep.h"

#include "baselib/thread/thread.h"
#include "baselib/time/clock.h"

#include <cmath>
#include <cstring>
#include <fcntl.h>
#include <linux/kd.h>
#include <sys/ioctl.h>
#include <unistd.h>

namespace {

constexpr const char* consolePath = "/dev/console";
constexpr uint32_t timerClock_hz = 1'193'180; // input clock of the PC's timer chip
constexpr int noMelody = -1;
constexpr int durationShift = 16;
constexpr uint32_t frequencyMask = 0xFFFF;
constexpr uint32_t longestNote_ms = 2000;
constexpr double lowOctave_hz = 222.0;
constexpr double highOctave_hz = 888.0;
constexpr double semitonesPerOctave = 12.0;

uint32_t divider(uint32_t freq) { return timerClock_hz / freq; }

uint32_t duration_ms(uint32_t entry) { return entry >> durationShift; }

uint32_t frequency_hz(uint32_t entry) { return entry & frequencyMask; }

bool isWithoutDuration(uint32_t entry) { return entry != 0 && duration_ms(entry) == 0; }

uint32_t semitones(double base_hz, int count) {
    return static_cast<uint32_t>(std::lround(base_hz * std::exp2(count / semitonesPerOctave)));
}

// 0 for a rest.
uint32_t noteFrequency_hz(char note) {
    if (note >= 'a' && note <= 'x') return semitones(lowOctave_hz, note - 'a');
    if (note >= 'A' && note <= 'X') return semitones(highOctave_hz, note - 'A');
    return 0;
}

bool isLength(char digit) { return digit >= '1' && digit <= '9'; }

uint32_t melodyEntry(char note, char length) {
    return (longestNote_ms >> (length - '1')) << durationShift | noteFrequency_hz(note);
}

int countNotes(const unsigned long* notes) {
    int count = 0;
    while (notes[count] != 0)
        ++count;
    return count;
}

} // namespace

int KLTlinuxBeep::opendev(const char* path) {
    closedev();
    if (!path) path = consolePath;
    if (!*path) return 0;
    fd_ = open(path, O_RDONLY | O_CLOEXEC);
    return fd_ < 0 ? -1 : 0;
}

void KLTlinuxBeep::closedev() {
    if (fd_ < 0) return;
    const KLTptNoCancel noCancel; // close() is a cancellation point
    request(KIOCSOUND, 0);
    close(fd_);
    fd_ = -1;
}

void KLTlinuxBeep::beep(int freq, int ms, bool wait) {
    if (freq < 1 || ms < 1 || fd_ < 0) return;
    tone(static_cast<uint32_t>(freq), static_cast<uint32_t>(ms));
    if (wait) KLFdelay(ms * 1000LL);
}

void KLTlinuxBeep::sound(int freq) {
    request(KIOCSOUND, freq > 0 ? divider(static_cast<uint32_t>(freq)) : 0);
}

void KLTlinuxBeep::stop() {
    request(KIOCSOUND, 0);
    index_ = noMelody;
}

void KLTlinuxBeep::melody(const unsigned long* notes) {
    stop();
    if (!notes || *notes == 0) return;
    const int count = countNotes(notes);
    reserve(count + 1);
    for (int i = 0; i <= count; ++i)
        notes_[i] = static_cast<uint32_t>(notes[i]);
    index_ = 0;
}

void KLTlinuxBeep::melody(const char* text) {
    stop();
    if (!text || !*text) return;
    reserve(static_cast<int>(strlen(text) / 2) + 1);
    int count = 0;
    for (; text[0] && text[1]; text += 2)
        if (isLength(text[1])) notes_[count++] = melodyEntry(text[0], text[1]);
    notes_[count] = 0;
    index_ = 0;
}

int KLTlinuxBeep::melodyNext() {
    if (index_ < 0) return 0;
    const uint32_t entry = notes_[index_++];
    if (entry == 0)
        index_ = noMelody;
    else if (frequency_hz(entry) != 0)
        tone(frequency_hz(entry), duration_ms(entry));
    return static_cast<int>(duration_ms(entry));
}

void KLTlinuxBeep::playall(const char* text) {
    melody(text);
    playLoaded();
}

void KLTlinuxBeep::playall(const unsigned long* notes) {
    melody(notes);
    playLoaded();
}

void KLTlinuxBeep::request(unsigned long code, unsigned long argument) {
    if (fd_ >= 0) ioctl(fd_, code, argument);
}

void KLTlinuxBeep::tone(uint32_t freq, uint32_t ms) {
    request(KDMKTONE, divider(freq) + (ms << durationShift));
}

// Room for count entries, the final 0 among them.
void KLTlinuxBeep::reserve(int count) {
    if (capacity_ >= count) return;
    notes_ = std::make_unique<uint32_t[]>(static_cast<size_t>(count));
    capacity_ = count;
}

void KLTlinuxBeep::playLoaded() {
    while (index_ >= 0 && !isWithoutDuration(notes_[index_]))
        if (const int ms = melodyNext()) KLFdelay(ms * 1000LL);
}
