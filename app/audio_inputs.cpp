#include "app/audio_inputs.h"

#include "baselib/thread/thread.h"

namespace {

constexpr int cpldIdWithAesebu = 2;
constexpr int inputCount = 2;

constexpr const char* mixerDevice = "default";
constexpr int headphoneLevel = 100; // steps of the mixer
constexpr int microphoneLevelAes = 48;
constexpr int microphoneLevel = 8;

} // namespace

bool AudioInputs::detect() {
    if (cpld_.detect() != 0) return false;
    aesHardware_ = cpld_.id == cpldIdWithAesebu;
    return dynamic_cast<const MymainCPLD_fake*>(cpld_.cpld.get()) == nullptr;
}

int AudioInputs::openMixer() {
    const KLTptNoCancel noCancel; // ALSA holds locks of its own
    if (const int error = mixer_.openMixer(aesHardware_, mixerDevice); error != 0) return error;
    mixer_.initDefaults();
    mixer_.setHPout(headphoneLevel, both);
    mixer_.setInlevel(mixer_.nominalInputLevel(), both);
    mixer_.setOutlevel(mixer_.nominalPlus4volume(), both);
    return 0;
}

void AudioInputs::select(bool microphone) {
    const KLTptNoCancel noCancel;
    setBoost(microphone, both);
    if (microphone) mixer_.setInlevel(aesHardware_ ? microphoneLevelAes : microphoneLevel, both);
}

int AudioInputs::setPhantom(bool on, int mask) {
    const KLTptNoCancel noCancel;
    if (!aesHardware_) return mixer_.setPhantom(on, mask);
    return switchByCpld(&CHCPLDinterface_k4::phantom, on, mask);
}

int AudioInputs::setBoost(bool on, int mask) {
    const KLTptNoCancel noCancel;
    if (!aesHardware_) return mixer_.setMicgain(on, mask);
    return switchByCpld(&CHCPLDinterface_k4::micboost, on, mask);
}

void AudioInputs::makeSafe() {
    const KLTptNoCancel noCancel;
    setPhantom(false, both);
    setBoost(false, both);
    mixer_.setInlevel(mixer_.nominalInputLevel(), both);
}

template <class Control>
int AudioInputs::switchByCpld(Control control, bool on, int mask) const {
    int result = 0;
    for (int input = 0; input < inputCount; ++input)
        if ((mask >> input & 1) != 0) result = (cpld_.cpld.get()->*control)(input, on);
    return result;
}
