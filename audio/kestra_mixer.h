#pragma once
// The analog controls of the device's sound card.

#include "audio/alsa_mixer.h"

#include <array>

// Six elements of the mixer. On a mainboard with AES/EBU hardware the CPLD switches microphone
// boost and phantom power: the last two elements are then never opened, and setPhantom and
// setMicgain do nothing.
//
//     index  element           side
//     0      "Headphone"       playback
//     1      "Line Out"        playback
//     2      "Line In"         capture
//     3      "Line In Level"   capture
//     4      "MicBoost"        playback    switch: set = boost off
//     5      "Phantom"         playback    switch: set = phantom power on
//
// Results are those of KLTalsaMixer and KLTalsaMixerEle. Inputs and outputs are channels 0
// and 1; for masks see KLTalsaMixerEle.
class KLTkestraMixer : public KLTalsaMixer {
public:
    // Closes what is open, opens the mixer of the device (usually "default") and the elements
    // in their order. The first that fails ends this; those before it stay open.
    [[nodiscard]] int openMixer(bool aesHardware, const KLTastrc& device);
    // Opens the elements that openMixer left closed, as far as the card has them.
    void openRest();
    // Closes the mixer; no element is open any more.
    void close();
    // Opens an element, 0 to 5, under a name of its own; KLTmixerNotOpen for another index.
    [[nodiscard]] int initMixer(int index, const char* name, bool playback);

    // 0 to 5; any other index gives element 0.
    KLTalsaMixerEle& operator[](int index);

    // Raw volumes, in steps of the card: "Headphone", "Line Out", "Line In", "Line In Level".
    int setHPout(int level, int mask);
    int setOutlevel(int level, int mask);
    int setInlevel(int level, int mask);
    int setIngain(int level, int mask);

    // Phantom power and microphone boost of the inputs of mask; the others stay.
    int setPhantom(bool on, int mask);
    int setMicgain(bool on, int mask);

    // The step of "Line Out" that gives the nominal output level, +4 dBu.
    int nominalPlus4volume() const { return 127; }
    // The step of "Line In" for the nominal input level.
    int nominalInputLevel() const { return aesHardware_ ? 24 : 0; }

    // The power-on state: outputs at nominal level, headphones and input gain at 0, inputs at
    // nominal level, all switched on; phantom power and microphone boost off. What refuses does
    // not keep the rest from being set; the first failure is returned.
    int initDefaults();

    // What elements 0 to 3 are; with AES/EBU hardware also 4 and 5, although these are open
    // only without it.
    void dump(KLTprint& print) const;

private:
    static constexpr int elementCount = 6;

    void closeElements();

    std::array<KLTalsaMixerEle, elementCount> elements_;
    uint32_t phantomBits_ = 0;
    uint32_t boostBits_ = 0; // as written: set = off
    bool aesHardware_ = false;
};
