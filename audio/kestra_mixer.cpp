#include "audio/kestra_mixer.h"

#include <cstddef>

namespace {

enum Index { headphone, lineOut, lineIn, lineInLevel, micBoost, phantom };

struct Element {
    const char* name;
    bool playback;
};
constexpr Element elements[] = {
    {"Headphone", true},      {"Line Out", true}, {"Line In", false},
    {"Line In Level", false}, {"MicBoost", true}, {"Phantom", true},
};

constexpr int bothChannels = 3; // channel mask
constexpr uint32_t allOn = UINT32_MAX;

// Elements that every board has.
constexpr int commonCount = micBoost;

uint32_t replaced(uint32_t bits, int mask, bool on) {
    const auto chosen = static_cast<uint32_t>(mask);
    return (bits & ~chosen) | (on ? chosen : 0);
}

} // namespace

int KLTkestraMixer::openMixer(bool aesHardware, const KLTastrc& device) {
    if (device.length() == 0) return KLTmixerNoName;
    closeElements();
    if (const int error = open(device); error != 0) return error;
    aesHardware_ = aesHardware;
    const int count = aesHardware ? commonCount : elementCount;
    for (int index = 0; index < count; ++index) {
        const int error = initMixer(index, elements[index].name, elements[index].playback);
        if (error != 0) return error;
    }
    return 0;
}

void KLTkestraMixer::openRest() {
    const int count = aesHardware_ ? commonCount : elementCount;
    for (int index = 0; index < count; ++index)
        if (!(*this)[index].isOpen())
            static_cast<void>(initMixer(index, elements[index].name, elements[index].playback));
}

void KLTkestraMixer::close() {
    closeElements();
    KLTalsaMixer::close();
}

int KLTkestraMixer::initMixer(int index, const char* name, bool playback) {
    if (index < 0 || index >= elementCount) return KLTmixerNotOpen;
    KLTalsaMixerEle& element = (*this)[index];
    const int error = element.open(*this, name);
    if (error == 0) element.playback(playback);
    return error;
}

KLTalsaMixerEle& KLTkestraMixer::operator[](int index) {
    const bool exists = index >= 0 && index < elementCount;
    return elements_[exists ? static_cast<std::size_t>(index) : 0];
}

int KLTkestraMixer::setHPout(int level, int mask) {
    return elements_[headphone].volume(level, mask);
}

int KLTkestraMixer::setOutlevel(int level, int mask) {
    return elements_[lineOut].volume(level, mask);
}

int KLTkestraMixer::setInlevel(int level, int mask) {
    return elements_[lineIn].volume(level, mask);
}

int KLTkestraMixer::setIngain(int level, int mask) {
    return elements_[lineInLevel].volume(level, mask);
}

int KLTkestraMixer::setPhantom(bool on, int mask) {
    if (aesHardware_) return 0;
    phantomBits_ = replaced(phantomBits_, mask, on);
    return elements_[phantom].switches(phantomBits_);
}

int KLTkestraMixer::setMicgain(bool on, int mask) {
    if (aesHardware_) return 0;
    boostBits_ = replaced(boostBits_, mask, !on);
    return elements_[micBoost].switches(boostBits_);
}

int KLTkestraMixer::initDefaults() {
    phantomBits_ = boostBits_ = 0;
    int first = 0;
    const auto note = [&first](int error) {
        if (first == 0) first = error;
    };
    note(setOutlevel(nominalPlus4volume(), bothChannels));
    note(setHPout(0, bothChannels));
    note(setIngain(0, bothChannels));
    note(setInlevel(nominalInputLevel(), bothChannels));
    for (const Index index : {lineOut, headphone, lineIn})
        note(elements_[index].switches(allOn));
    note(setPhantom(false, bothChannels));
    note(setMicgain(false, bothChannels));
    return first;
}

void KLTkestraMixer::dump(KLTprint& print) const {
    const int count = aesHardware_ ? elementCount : commonCount;
    for (int index = 0; index < count; ++index)
        elements_[static_cast<std::size_t>(index)].dump(print);
}

void KLTkestraMixer::closeElements() {
    for (KLTalsaMixerEle& element : elements_)
        element.close();
}
