#include "app/audio_inputs.h"

#include "baselib/thread/thread.h"

#include <atomic>
#include <ctime>
#include <pthread.h>

namespace {

constexpr int inputCount = 2;

constexpr const char* mixerDevice = "default";
constexpr int headphoneLevel = 100; // steps of the mixer
constexpr int microphoneLevelAes = 48;
constexpr int microphoneLevel = 8;

std::atomic<bool> powerForbidden{false};

// One thread at a time switches power, so that none switches it on after it was forbidden. A
// thread that hangs in its switching does not keep the others from making the inputs safe.
class PowerSwitching {
public:
    PowerSwitching() {
        timespec end{};
        clock_gettime(CLOCK_REALTIME, &end);
        end.tv_nsec += patience_ns;
        if (end.tv_nsec >= nsPerSecond) {
            end.tv_nsec -= nsPerSecond;
            ++end.tv_sec;
        }
        isHeld_ = pthread_mutex_timedlock(&mutex_, &end) == 0;
    }
    ~PowerSwitching() {
        if (isHeld_) pthread_mutex_unlock(&mutex_);
    }
    PowerSwitching(const PowerSwitching&) = delete;
    PowerSwitching& operator=(const PowerSwitching&) = delete;

private:
    static constexpr long nsPerSecond = 1'000'000'000;
    static constexpr long patience_ns = nsPerSecond / 2;

    static inline pthread_mutex_t mutex_ = PTHREAD_MUTEX_INITIALIZER;
    bool isHeld_ = false;
};

} // namespace

bool AudioInputs::detect() {
    if (cpld_.detect() != 0) return false;
    aesHardware_ = cpld_.id == CHmainboardCPLD_K4::idWithAesebu;
    return dynamic_cast<const MymainCPLD_fake*>(cpld_.cpld.get()) == nullptr;
}

bool AudioInputs::openMixer() {
    const KLTptNoCancel noCancel; // ALSA holds locks of its own
    if (mixer_.openMixer(aesHardware_, mixerDevice) != 0) return false;
    mixer_.initDefaults();
    mixer_.setHPout(headphoneLevel, both);
    mixer_.setInlevel(mixer_.nominalInputLevel(), both);
    mixer_.setOutlevel(mixer_.nominalPlus4volume(), both);
    return true;
}

void AudioInputs::select(bool microphone) {
    const KLTptNoCancel noCancel;
    setBoost(microphone, both);
    if (microphone) mixer_.setInlevel(aesHardware_ ? microphoneLevelAes : microphoneLevel, both);
}

int AudioInputs::setPhantom(bool on, int mask) {
    return switchPower(&KLTkestraMixer::setPhantom, &CHCPLDinterface_k4::phantom, on, mask);
}

int AudioInputs::setBoost(bool on, int mask) {
    return switchPower(&KLTkestraMixer::setMicgain, &CHCPLDinterface_k4::micboost, on, mask);
}

void AudioInputs::makeSafe() {
    const KLTptNoCancel noCancel;
    setPhantom(false, both);
    setBoost(false, both);
    mixer_.setInlevel(mixer_.nominalInputLevel(), both);
}

void AudioInputs::reopen() {
    const KLTptNoCancel noCancel;
    detect();
    if (mixer_.openMixer(aesHardware_, mixerDevice) != 0) mixer_.openRest();
}

void AudioInputs::forbidPower() {
    const PowerSwitching switching;
    powerForbidden = true;
}

int AudioInputs::switchPower(ByMixer byMixer, ByCpld byCpld, bool on, int mask) {
    const KLTptNoCancel noCancel;
    const PowerSwitching switching;
    if (on && powerForbidden) return 0;
    return aesHardware_ ? switchByCpld(byCpld, on, mask) : (mixer_.*byMixer)(on, mask);
}

int AudioInputs::switchByCpld(ByCpld control, bool on, int mask) const {
    int result = 0;
    for (int input = 0; input < inputCount; ++input)
        if ((mask >> input & 1) != 0) result = (cpld_.cpld.get()->*control)(input, on);
    return result;
}
