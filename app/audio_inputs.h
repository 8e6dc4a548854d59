#pragma once
// The analog inputs and outputs of the device, and who switches them on which board.

#include "audio/kestra_mixer.h"
#include "hw/mainboard_cpld.h"

// Used by one thread; no operation is a cancellation point. Masks: bit 0 = input 1, bit 1 =
// input 2.
class AudioInputs {
public:
    static constexpr int both = 3;

    // Finds the mainboard CPLD. False without access to the ports and without a known CPLD.
    bool detect();

    // The mainboard has AES/EBU hardware: its CPLD switches phantom power and microphone boost,
    // else the mixer does. As of detect().
    bool aesHardware() const { return aesHardware_; }

    // Opens the mixer and sets everything to nominal levels. False when the mixer can't be
    // opened. A control that refuses shows in the levels.
    [[nodiscard]] bool openMixer();

    // Line level, or microphone level with boost.
    void select(bool microphone);

    // The code of KLTkestraMixer, or what the CPLD driver returned last (0: no input chosen).
    int setPhantom(bool on, int mask);
    int setBoost(bool on, int mask);

    // Phantom power and boost off, input level nominal, on both inputs.
    void makeSafe();

    // For makeSafe() on an object of its own: finds the CPLD and opens the mixer, but changes
    // nothing. An element that the card lacks does not keep the others from being opened.
    void reopen();

    // From now on no object of this process switches phantom power or boost on. Waits for a
    // switching that another thread is about, for half a second at most.
    static void forbidPower();

private:
    using ByMixer = int (KLTkestraMixer::*)(bool on, int mask);
    using ByCpld = int (CHCPLDinterface_k4::*)(int channel, bool on) const;

    int switchPower(ByMixer byMixer, ByCpld byCpld, bool on, int mask);
    int switchByCpld(ByCpld control, bool on, int mask) const;

    CHmainboardCPLD_K4 cpld_;
    KLTkestraMixer mixer_;
    bool aesHardware_ = false;
};

// Makes the inputs safe at the end of a block, however it is left.
class AudioInputsGuard {
public:
    explicit AudioInputsGuard(AudioInputs& inputs) : inputs_(inputs) {}
    ~AudioInputsGuard() { inputs_.makeSafe(); }
    AudioInputsGuard(const AudioInputsGuard&) = delete;
    AudioInputsGuard& operator=(const AudioInputsGuard&) = delete;

private:
    AudioInputs& inputs_;
};
